// qmllint disable unqualified
// (Rows read the page around them. Qt 6.4's qmllint calls that unqualified unless the file binds
// its components, and bound components break list sections in 6.4.)
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
        section.delegate: Item { height: 28 } // the gap between sections
        Keys.onReturnPressed: if (currentItem) (currentItem as TableRow).activate()
        Keys.onEnterPressed: if (currentItem) (currentItem as TableRow).activate()
        Keys.onSpacePressed: if (currentItem) (currentItem as TableRow).activate()
        delegate: TableRow {
            onTapped: page.controller.tapRow(index)
            onSwitched: (on) => page.controller.setSwitch(index, on)
        }
    }
}
