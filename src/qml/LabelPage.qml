import QtQuick
import QtQuick.Controls
import Tallymo

// A plan's label, kept when the screen closes (never an empty one).
ScreenPage {
    id: page
    required property LabelController controller
    objectName: "labelPage"
    header: PageHeader { title: page.controller.title; onBack: page.close() }
    StackView.onDeactivating: page.controller.keep()

    TextField {
        id: field
        objectName: "labelField"
        anchors.left: parent.left
        anchors.right: parent.right
        anchors.top: parent.top
        anchors.topMargin: 28
        height: 48
        leftPadding: 16
        rightPadding: 16
        background: Rectangle { color: Theme.contentBackground }
        text: page.controller.text
        font.pixelSize: Theme.body
        focus: true
        selectByMouse: true
        Accessible.name: page.controller.title
        onTextEdited: page.controller.text = text
        Keys.onReturnPressed: page.close()
        Keys.onEnterPressed: page.close()
        Component.onCompleted: { forceActiveFocus(); selectAll() }
    }
}
