pragma ComponentBehavior: Bound
import QtQuick
import QtQuick.Controls
import Tallymo

// The four usage alerts, each with its threshold; a row opens that alert's picker.
ScreenPage {
    id: page
    required property AlertsController controller
    objectName: "alertsPage"
    header: PageHeader { title: page.controller.title; onBack: page.close() }
    StackView.onActivating: page.controller.aboutToShow()

    ListView {
        id: list
        objectName: "thresholdList"
        anchors.fill: parent
        anchors.topMargin: 20
        model: page.controller.thresholds
        focus: true
        keyNavigationEnabled: true
        delegate: ItemDelegate {
            id: row
            required property int index
            required property var model
            width: list.width
            height: 48
            leftPadding: 16
            rightPadding: 12
            highlighted: ListView.isCurrentItem && list.activeFocus && InputMode.keyboard
            background: Rectangle { color: row.down || row.highlighted ? Theme.rowPressed : Theme.rowBackground }
            Accessible.name: row.model.text + ", " + row.model.detail
            contentItem: Item {
                Label { anchors.verticalCenter: parent.verticalCenter; text: row.model.text; font.pixelSize: Theme.body; color: Theme.text }
                Label { anchors.right: parent.right; anchors.verticalCenter: parent.verticalCenter; text: row.model.detail + "  \u203A"; font.pixelSize: Theme.body; color: Theme.secondaryText }
            }
            function openIt() {
                page.controller.tapRow(row.index)
                page.navigator.open(Navigator.Threshold, String(row.index))
            }
            onClicked: openIt()
            Keys.onReturnPressed: openIt()
        }
    }
}
