pragma ComponentBehavior: Bound
import QtQuick
import QtQuick.Controls
import Tallymo

// A wheel of a picker's rows (RowPickerController); turning it, or Up and Down, chooses a row.
Tumbler {
    id: wheel
    required property RowPickerController controller
    objectName: "wheel"
    model: controller.rows
    currentIndex: controller.selectedRow
    visibleItemCount: 5
    wrap: false
    focus: true
    Accessible.role: Accessible.SpinBox
    Accessible.name: controller.title
    Accessible.description: controller.rows[controller.selectedRow] || ""
    onVisibleChanged: if (visible) forceActiveFocus()
    onCurrentIndexChanged: if (moving || activeFocus) controller.selectedRow = currentIndex
    onMovingChanged: if (!moving) controller.selectedRow = currentIndex
    // The band of the chosen row.
    Rectangle {
        z: -1
        anchors.centerIn: parent
        width: parent.width
        height: parent.height / wheel.visibleItemCount
        radius: 8
        color: Theme.rowBackground
    }
    delegate: Label {
        required property string modelData
        required property int index
        text: modelData
        font.pixelSize: Theme.largeTitle
        horizontalAlignment: Text.AlignHCenter
        verticalAlignment: Text.AlignVCenter
        opacity: 1.0 - Math.abs(Tumbler.displacement) / (wheel.visibleItemCount / 2)
        color: Theme.text
    }
    Keys.onUpPressed: controller.selectedRow = Math.max(0, currentIndex - 1)
    Keys.onDownPressed: controller.selectedRow = Math.min(count - 1, currentIndex + 1)
}
