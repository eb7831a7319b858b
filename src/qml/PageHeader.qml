import QtQuick
import QtQuick.Controls

// A screen's title bar with its back control.
ToolBar {
    id: bar
    property string title
    property string backText: qsTr("Back")
    // The width of a button a page puts on the right, so that the title keeps clear of it too.
    property real trailingWidth: 0
    signal back()
    height: 52
    background: Rectangle { color: Theme.pageBackground; Rectangle { anchors.bottom: parent.bottom; width: parent.width; height: 1; color: Theme.separator } }

    HeaderButton {
        id: backButton
        objectName: "backButton"
        anchors.left: parent.left
        anchors.verticalCenter: parent.verticalCenter
        // A long back text ("‹ Abrechnungszeiträume") is cut rather than cover the title.
        width: Math.min(implicitWidth, bar.width * 0.3)
        text: "\u2039 " + bar.backText
        Accessible.name: bar.backText
        onClicked: bar.back()
    }
    Label {
        anchors.centerIn: parent
        width: parent.width - 2 * Math.max(backButton.width, bar.trailingWidth) - 16
        horizontalAlignment: Text.AlignHCenter
        elide: Text.ElideRight
        // Long titles (a weekday and a month) shrink before they are cut.
        fontSizeMode: Text.HorizontalFit
        minimumPixelSize: 11
        text: bar.title
        font.pixelSize: Theme.body
        font.weight: Theme.heading
        color: Theme.text
        Accessible.role: Accessible.Heading
    }
}
