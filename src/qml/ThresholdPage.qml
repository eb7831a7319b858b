pragma ComponentBehavior: Bound
import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Tallymo

// One alert's threshold, in 5 % steps between its neighbours; stored as soon as it is picked.
ScreenPage {
    id: page
    required property ThresholdController controller
    objectName: "thresholdPage"
    header: PageHeader { title: page.controller.title; onBack: page.close() }

    ColumnLayout {
        anchors.fill: parent
        anchors.topMargin: 20
        spacing: 8
        Label {
            objectName: "thresholdDetail"
            Layout.alignment: Qt.AlignHCenter
            text: page.controller.detailText
            font.pixelSize: Theme.body
            color: Theme.text
        }
        Tumbler {
            id: levels
            objectName: "thresholdPicker"
            Layout.alignment: Qt.AlignHCenter
            Layout.preferredHeight: 200
            Layout.preferredWidth: 200
            model: page.controller.pickerRows
            currentIndex: page.controller.selectedRow
            visibleItemCount: 5
            wrap: false
            focus: true
            onMovingChanged: if (!moving) page.controller.chooseRow(currentIndex)
            Keys.onUpPressed: page.controller.chooseRow(Math.max(0, currentIndex - 1))
            Keys.onDownPressed: page.controller.chooseRow(Math.min(count - 1, currentIndex + 1))
            // The chosen row's band, behind the rows.
            background: Item {
                Rectangle {
                    anchors.centerIn: parent
                    width: parent.width
                    height: levels.availableHeight / levels.visibleItemCount
                    radius: 8
                    color: Theme.rowPressed
                }
            }
            delegate: Label {
                required property int index
                required property string modelData
                width: levels.availableWidth
                text: modelData
                font.pixelSize: Theme.largeTitle
                horizontalAlignment: Text.AlignHCenter
                verticalAlignment: Text.AlignVCenter
                opacity: 1.0 - Math.abs(Tumbler.displacement) / (levels.visibleItemCount / 2)
                color: Theme.text
            }
        }
        Label {
            Layout.fillWidth: true
            Layout.leftMargin: 16
            Layout.rightMargin: 16
            wrapMode: Text.Wrap
            text: page.controller.footer
            font.pixelSize: Theme.footnote
            color: Theme.secondaryText
        }
        Item { Layout.fillHeight: true }
    }
}
