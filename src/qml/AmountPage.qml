import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Tallymo

// An amount screen: the data cap and the rollover amount (kept when the screen closes), or adding
// cellular usage (the Add button asks first).
ScreenPage {
    id: page
    required property ByteController controller
    readonly property bool adds: controller.addEnabled !== undefined
    objectName: "amountPage"
    header: PageHeader {
        title: page.controller.title
        onBack: page.close()
        ToolButton {
            objectName: "addButton"
            anchors.right: parent.right
            anchors.verticalCenter: parent.verticalCenter
            visible: page.adds
            enabled: page.adds && page.controller.addEnabled
            text: page.adds ? page.controller.button : ""
            font.pixelSize: 17
            font.weight: Font.DemiBold
            palette.buttonText: enabled ? "#0a60d0" : "#8e8e93"
            onClicked: page.controller.requestAdd()
        }
    }
    StackView.onDeactivating: if (!page.adds) page.controller.close()

    Connections {
        target: page.adds ? page.controller : null
        ignoreUnknownSignals: true
        function onAsk(question) { dialog.ask(question) }
        function onClose() { page.close() }
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
            onAccepted: page.adds ? page.controller.requestAdd() : page.close()
        }
        Item { Layout.fillHeight: true }
    }
}
