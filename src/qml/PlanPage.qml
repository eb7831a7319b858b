// qmllint disable unqualified
// (Rows read the page around them. Qt 6.4's qmllint calls that unqualified unless the file binds
// its components, and bound components break list sections in 6.4.)
import QtQuick
import QtQuick.Controls
import Tallymo

// One plan: a new plan (Cancel and Save) or a plan's details (Back, and Delete for a plan that is
// not the active one).
ScreenPage {
    id: page
    required property PlanController controller
    objectName: "planPage"
    header: PageHeader {
        id: bar
        title: page.controller.title
        backText: page.controller.newPlanMode ? qsTr("Cancel") : qsTr("Back")
        onBack: page.controller.newPlanMode ? page.controller.cancel() : page.close()
        ToolButton {
            objectName: "saveButton"
            anchors.right: parent.right
            anchors.verticalCenter: parent.verticalCenter
            visible: page.controller.newPlanMode
            text: qsTr("Save")
            font.pixelSize: 17
            font.weight: Font.DemiBold
            palette.buttonText: "#0a60d0"
            onClicked: page.controller.save()
        }
    }
    StackView.onActivating: page.controller.reload()

    Connections {
        target: page.controller
        function onOpen(screen, plan) { page.navigator.open(screen, plan) }
        function onGoBack() { page.close() }
        function onAsk(question) { dialog.ask(question) }
    }
    QuestionDialog {
        id: dialog
        onAnswered: (index) => page.controller.answer(index)
    }

    ListView {
        id: list
        objectName: "rows"
        anchors.fill: parent
        model: page.controller.settings
        focus: true
        keyNavigationEnabled: true
        section.property: "section"
        section.delegate: Item { height: 28 } // the gap between sections
        Keys.onReturnPressed: if (currentItem) (currentItem as TableRow).activate()
        Keys.onEnterPressed: if (currentItem) (currentItem as TableRow).activate()
        delegate: TableRow {
            onTapped: page.controller.selectRow(model.section, model.row)
        }
        footer: Item {
            width: list.width
            height: deleteButton.visible ? 76 : 0
            ItemDelegate {
                id: deleteButton
                objectName: "deleteButton"
                anchors.bottom: parent.bottom
                width: parent.width
                height: 48
                visible: page.controller.canDelete
                background: Rectangle { color: deleteButton.down ? "#e5e5ea" : "white" }
                contentItem: Label {
                    horizontalAlignment: Text.AlignHCenter
                    verticalAlignment: Text.AlignVCenter
                    text: qsTr("Delete")
                    font.pixelSize: 17
                    color: "#d70015"
                }
                Accessible.role: Accessible.Button
                Accessible.name: qsTr("Delete")
                onClicked: page.controller.requestDelete()
            }
        }
    }
}
