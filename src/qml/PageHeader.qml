import QtQuick
import QtQuick.Controls

// A screen's title bar with its back control.
ToolBar {
    id: bar
    property string title
    property string backText: qsTr("Back")
    signal back()
    height: 52
    background: Rectangle { color: "#f2f2f7"; Rectangle { anchors.bottom: parent.bottom; width: parent.width; height: 1; color: "#d1d1d6" } }

    ToolButton {
        id: backButton
        objectName: "backButton"
        anchors.left: parent.left
        anchors.verticalCenter: parent.verticalCenter
        text: "\u2039 " + bar.backText
        font.pixelSize: 17
        palette.buttonText: "#0a60d0"
        Accessible.name: bar.backText
        onClicked: bar.back()
    }
    Label {
        anchors.centerIn: parent
        width: parent.width - 2 * backButton.width - 16
        horizontalAlignment: Text.AlignHCenter
        elide: Text.ElideRight
        // Long titles (a weekday and a month) shrink before they are cut.
        fontSizeMode: Text.HorizontalFit
        minimumPixelSize: 12
        text: bar.title
        font.pixelSize: 17
        font.weight: Font.DemiBold
        color: "#111111"
        Accessible.role: Accessible.Heading
    }
}
