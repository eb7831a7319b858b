import QtQuick
import QtQuick.Controls
import QtQuick.Layouts

// A question a screen asks (AlertValue::toMap): its message and one button per action; Escape
// chooses the cancel action.
Dialog {
    id: dialog
    property var question: ({ title: "", message: "", actions: [] })
    signal answered(int index)
    objectName: "question"
    parent: Overlay.overlay
    anchors.centerIn: parent
    width: Math.min(parent ? parent.width - 48 : 320, 340)
    modal: true
    closePolicy: Popup.CloseOnEscape
    title: question.title

    function ask(map) {
        question = map
        open()
        buttons.itemAt(0).forceActiveFocus()
    }
    onRejected: {
        for (let i = 0; i < question.actions.length; ++i) {
            if (question.actions[i].style === 1) {
                answered(i)
                return
            }
        }
    }

    ColumnLayout {
        width: parent.width
        spacing: 12
        Accessible.role: Accessible.AlertMessage
        Accessible.name: dialog.question.title !== "" ? dialog.question.title : dialog.question.message
        Label {
            Layout.fillWidth: true
            wrapMode: Text.Wrap
            text: dialog.question.message
            font.pixelSize: 15
            color: "#111111"
        }
        Repeater {
            id: buttons
            model: dialog.question.actions
            Button {
                required property int index
                required property var modelData
                objectName: "answer" + index
                Layout.fillWidth: true
                text: modelData.title
                font.pixelSize: 17
                font.weight: modelData.style === 1 ? Font.DemiBold : Font.Normal
                palette.buttonText: modelData.style === 2 ? "#d70015" : "#0a60d0"
                Keys.onReturnPressed: clicked()
                onClicked: {
                    dialog.close()
                    dialog.answered(index)
                }
            }
        }
    }
}
