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
        function onAsk(question) { dialog.ask(question) }
        function onMessage(text) { page.say(text) }
        function onGoBack() { page.close() }
    }
    QuestionDialog {
        id: dialog
        onAnswered: (index) => page.controller.answer(index)
    }

    ListView {
        id: list
        objectName: "rows"
        anchors.fill: parent
        model: page.controller.rows
        focus: true
        keyNavigationEnabled: true
        section.property: "section"
        section.delegate: Item { width: list.width; height: 28 }
        Keys.onReturnPressed: if (currentItem) currentItem.activate()
        Keys.onEnterPressed: if (currentItem) currentItem.activate()
        Keys.onSpacePressed: if (currentItem) currentItem.activate()
        delegate: TableRow {
            onTapped: page.controller.tapRow(index)
            onSwitched: (on) => page.controller.setSwitch(index, on)
        }
    }
}
