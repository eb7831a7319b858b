import QtQuick
import QtQuick.Controls
import Tallymo

// A grouped table (MenuController): the settings, the theme menu, the plan type, the advanced
// settings, about. Rows open screens, switch, check or act; questions and messages come from the
// controller.
ScreenPage {
    id: page
    required property MenuController controller
    objectName: "menuPage"
    header: PageHeader { title: page.controller.title; onBack: page.close() }

    StackView.onActivating: page.controller.aboutToShow()

    Connections {
        target: page.controller
        function onOpen(screen) { page.navigator.open(screen, page.argument) }
        function onOpenFor(screen, argument) { page.navigator.open(screen, argument) }
        function onAsk(question) { dialog.ask(question) }
        function onMessage(text) { page.say(text) }
        function onGoBack() { page.close() }
    }
    QuestionDialog {
        id: dialog
        onAnswered: (index) => page.controller.answer(index)
    }

    SettingsList {
        anchors.fill: parent
        model: page.controller.rows
        onRowTapped: (index) => page.controller.tapRow(index)
        onRowSwitched: (index, on) => page.controller.setSwitch(index, on)
    }
}
