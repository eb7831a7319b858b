import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Tallymo

// An amount screen: the data cap and the rollover amount (kept when the screen closes), or adding
// cellular usage (the Add button asks first).
ScreenPage {
    id: page
    required property ByteController controller
    readonly property bool adds: controller.button !== ""
    objectName: "amountPage"
    header: PageHeader {
        trailingWidth: trailing.visible ? trailing.width : 0
        title: page.controller.title
        onBack: page.close()
        HeaderButton {
            id: trailing
            objectName: "addButton"
            anchors.right: parent.right
            anchors.verticalCenter: parent.verticalCenter
            visible: page.adds
            enabled: page.controller.buttonEnabled
            text: page.controller.button
            font.weight: Theme.heading
            onClicked: page.controller.pressButton()
        }
    }
    StackView.onDeactivating: page.controller.keep()

    Connections {
        target: page.controller
        function onAsk(question) { dialog.ask(question) }
        function onDone() { page.close() }
    }
    QuestionDialog {
        id: dialog
        onAnswered: (index) => page.controller.answer(index)
    }

    ColumnLayout {
        anchors.fill: parent
        anchors.topMargin: 28
        AmountField {
            controller: page.controller
            Layout.fillWidth: true
            onAccepted: page.adds ? page.controller.pressButton() : page.close()
        }
        Item { Layout.fillHeight: true }
    }
}
