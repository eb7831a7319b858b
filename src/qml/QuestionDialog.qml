pragma ComponentBehavior: Bound
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
    padding: 20
    topPadding: question.title !== "" ? 10 : 20

    // An alert as a phone shows one: the title and the message centred over the buttons, on a
    // rounded card over the dimmed screen.
    background: Rectangle { radius: 14; color: Theme.dialogBackground; border.color: Theme.separator }
    Overlay.modal: Rectangle { color: Theme.dim }
    header: Label {
        visible: dialog.question.title !== ""
        text: dialog.question.title
        horizontalAlignment: Text.AlignHCenter
        wrapMode: Text.Wrap
        topPadding: 20
        leftPadding: 20
        rightPadding: 20
        font.pixelSize: Theme.body
        font.weight: Theme.heading
        color: Theme.text
    }

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
            visible: text !== ""
            wrapMode: Text.Wrap
            horizontalAlignment: Text.AlignHCenter
            text: dialog.question.message
            font.pixelSize: Theme.subhead
            color: Theme.text
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
                font.pixelSize: Theme.body
                font.weight: modelData.style === 1 ? Font.DemiBold : Font.Normal
                palette.buttonText: modelData.style === 2 ? Theme.destructive : Theme.accent
                Keys.onReturnPressed: clicked()
                onClicked: {
                    dialog.close()
                    dialog.answered(index)
                }
            }
        }
    }
}
