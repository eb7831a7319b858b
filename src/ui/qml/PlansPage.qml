import QtQuick
import QtQuick.Controls
import Tallymo

// The plan list: the active plan checked; choosing another switches to it.
ScreenPage {
    id: page
    required property var controller
    objectName: "plansPage"
    header: PageHeader { title: page.controller.title; onBack: page.close() }

    Connections {
        target: page.controller
        function onGoBack() { page.close() }
        function onSwitched() { page.close() }
    }

    ListView {
        id: list
        anchors.fill: parent
        anchors.topMargin: 20
        model: page.controller.plans
        focus: true
        delegate: ItemDelegate {
            required property int index
            required property var model
            readonly property string label: model.label
            readonly property bool isChecked: model.checked
            width: list.width
            height: 48
            background: Rectangle { color: parent.down ? "#e5e5ea" : "white" }
            Accessible.name: label
            contentItem: Item {
                Label { anchors.verticalCenter: parent.verticalCenter; text: label; font.pixelSize: 17; color: "#111111"; elide: Text.ElideRight; width: parent.width - 32 }
                Label { anchors.right: parent.right; anchors.verticalCenter: parent.verticalCenter; visible: isChecked; text: "\u2713"; font.pixelSize: 20; color: "#0a60d0" }
            }
            onClicked: page.controller.tapRow(index)
        }
    }
}
