import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Tallymo

// A picker screen: the bill day, N, the weekday. The choice is stored as it is made.
ScreenPage {
    id: page
    required property RowPickerController controller
    objectName: "wheelPage"
    header: PageHeader { title: page.controller.title; onBack: page.close() }

    ColumnLayout {
        anchors.fill: parent
        anchors.topMargin: 20
        spacing: 8
        Label {
            objectName: "summary"
            Layout.fillWidth: true
            visible: text !== ""
            leftPadding: 16
            text: page.controller.summary
            font.pixelSize: Theme.body
            color: Theme.text
        }
        WheelPicker {
            controller: page.controller
            Layout.alignment: Qt.AlignHCenter
            Layout.preferredHeight: 200
            Layout.preferredWidth: 240
        }
        Label {
            Layout.fillWidth: true
            leftPadding: 16
            rightPadding: 16
            wrapMode: Text.Wrap
            text: page.controller.footer
            font.pixelSize: Theme.footnote
            color: Theme.secondaryText
        }
        Item { Layout.fillHeight: true }
    }
}
