// qmllint disable unqualified
// (The list's footer reads the page around it. Qt 6.4's qmllint calls that unqualified unless the
// file binds its components, and bound components break list footers in 6.4.)
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
        trailingWidth: trailing.visible ? trailing.width : 0
        title: page.controller.title
        backText: page.controller.newPlanMode ? qsTr("Cancel") : qsTr("Back")
        onBack: page.controller.newPlanMode ? page.controller.cancel() : page.close()
        HeaderButton {
            id: trailing
            objectName: "saveButton"
            anchors.right: parent.right
            anchors.verticalCenter: parent.verticalCenter
            visible: page.controller.newPlanMode
            text: qsTr("Save")
            font.weight: Theme.heading
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

    SettingsList {
        id: list
        anchors.fill: parent
        model: page.controller.settings
        onRowTapped: (index, row) => page.controller.selectRow(row.section, row.row)
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
                background: Rectangle { color: deleteButton.down ? Theme.rowPressed : Theme.rowBackground }
                contentItem: Label {
                    horizontalAlignment: Text.AlignHCenter
                    verticalAlignment: Text.AlignVCenter
                    text: qsTr("Delete")
                    font.pixelSize: Theme.body
                    color: Theme.destructive
                }
                Accessible.role: Accessible.Button
                Accessible.name: qsTr("Delete")
                onClicked: page.controller.requestDelete()
            }
        }
    }
}
