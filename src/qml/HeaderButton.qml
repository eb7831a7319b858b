import QtQuick
import QtQuick.Controls

// A text button in a title bar: the accent colour on the bar itself, a box only while pressed or
// focused (in the rows' pressed colour, so the accent stays readable on light and dark pages).
ToolButton {
    id: button
    font.pixelSize: Theme.body
    palette.buttonText: enabled ? Theme.accent : Theme.disabledText
    background: Rectangle {
        implicitWidth: 40
        implicitHeight: 40
        visible: button.down || button.visualFocus
        color: Theme.rowPressed
        radius: 4
    }
}
