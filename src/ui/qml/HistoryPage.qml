import QtQuick
import QtQuick.Controls
import Tallymo

// Today's usage per hour: cellular to the left of the centre line, Wi-Fi to the right.
ScreenPage {
    id: page
    property var day: screens.create("DayViewController")
    readonly property var hours: day ? day.activeController : null
    objectName: "historyPage"
    background: Rectangle { color: "white" }
    header: PageHeader { title: page.day ? page.day.title : ""; onBack: page.close() }

    BusyIndicator { anchors.centerIn: parent; running: page.hours ? page.hours.busy : true }
    Label {
        anchors.centerIn: parent
        visible: page.hours ? page.hours.noUsage : false
        text: qsTr("No Usage")
        font.pixelSize: 17
        color: "#6d6d72"
    }
    ListView {
        id: list
        anchors.fill: parent
        model: page.hours ? page.hours.rows : null
        delegate: Item {
            required property string timeLabel
            required property string cellAmount
            required property string wifiAmount
            required property real cellPercent
            required property real wifiPercent
            width: list.width
            height: 44
            Rectangle { x: list.width / 2 - width; y: 8; height: 14; width: (list.width / 2 - 8) * cellPercent; color: "#ff9500" }
            Rectangle { x: list.width / 2; y: 8; height: 14; width: (list.width / 2 - 8) * wifiPercent; color: "#0a84ff" }
            Rectangle { x: list.width / 2; width: 1; height: parent.height; color: "#c7c7cc" }
            Label { x: 8; y: 24; text: cellAmount; font.pixelSize: 12; color: "#333333" }
            Label { anchors.horizontalCenter: parent.horizontalCenter; y: 24; text: timeLabel; font.pixelSize: 12; color: "#6d6d72" }
            Label { anchors.right: parent.right; anchors.rightMargin: 8; y: 24; text: wifiAmount; font.pixelSize: 12; color: "#333333" }
        }
    }
}
