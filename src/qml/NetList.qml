// qmllint disable unqualified
// (Delegates here read the ids around them. Qt 6.4's qmllint calls that unqualified unless the file
// binds its components, and bound components break this file's list headers and sections in 6.4.)
import QtQuick
import QtQuick.Controls
import Tallymo

// The day's remote addresses: a section per hour with its totals, the busiest address first;
// names replace addresses as lookups answer (the controller is told which rows are in view).
FocusScope {
    id: net
    required property NetViewController controller
    signal closeRequested()
    // A sideways swipe across the list: +1 to the left (what comes next), -1 to the right.
    signal swiped(int step)

    BusyIndicator { anchors.centerIn: parent; running: net.controller.busy; visible: running }
    Label {
        objectName: "noAddresses"
        anchors.centerIn: parent
        visible: !net.controller.busy && list.count === 0
        text: net.controller.noDataText()
        font.pixelSize: Theme.body
        color: Theme.secondaryText
    }
    ListView {
        id: list
        objectName: "addressList"
        anchors.fill: parent
        model: net.controller.addresses
        focus: true
        keyNavigationEnabled: true
        clip: true
        boundsBehavior: Flickable.DragOverBounds
        // Short lists can be pulled too; sideways the list only gives a little, for swipes.
        flickableDirection: Flickable.HorizontalAndVerticalFlick
        contentWidth: width
        onDraggingHorizontallyChanged: {
            const over = contentX - originX
            if (!draggingHorizontally && Math.abs(over) > 20)
                net.swiped(over > 0 ? 1 : -1)
        }
        section.property: "section"
        section.delegate: Rectangle {
            id: header
            required property string section
            readonly property var totals: net.controller.header(Number(section))
            width: list.width
            height: 36
            color: Theme.pageBackground
            Accessible.role: Accessible.Heading
            Accessible.name: qsTr("%1, cellular %2, Wi-Fi %3").arg(totals.title).arg(cellLine.amountText)
                                 .arg(wifiLine.amountText)
            Label {
                anchors.left: parent.left
                anchors.leftMargin: 16
                anchors.verticalCenter: parent.verticalCenter
                text: header.totals.title
                font.pixelSize: Theme.subhead
                font.weight: Theme.heading
                color: Theme.text
            }
            // The hour's cellular and Wi-Fi totals (all its usage, not only what the addresses add up to).
            Row {
                anchors.right: parent.right
                anchors.rightMargin: 16
                anchors.verticalCenter: parent.verticalCenter
                spacing: 12
                StyledLine { id: cellLine; objectName: "cellTotal"; runs: header.totals.cellTotal; numberSize: 15; unitSize: 11 }
                StyledLine { id: wifiLine; objectName: "wifiTotal"; runs: header.totals.wifiTotal; numberSize: 15; unitSize: 11 }
            }
        }
        // Which rows are in view, so a looked-up name goes to the first of them.
        function reportVisible() {
            const rows = []
            for (let y = contentY; y < contentY + height; y += 20) {
                const i = indexAt(0, y)
                if (i >= 0 && rows.indexOf(i) < 0)
                    rows.push(i)
            }
            net.controller.setVisibleModelRows(rows)
        }
        onContentYChanged: {
            reportVisible()
            if (net.controller.pullCloses(dragging, contentY - originY))
                net.closeRequested()
        }
        onCountChanged: visibleRows.restart()
        Timer { id: visibleRows; interval: 0; onTriggered: list.reportVisible() }
        delegate: ItemDelegate {
            id: row
            required property int index
            required property var model
            width: list.width
            height: 44
            leftPadding: 16
            rightPadding: 16
            highlighted: ListView.isCurrentItem && list.activeFocus && InputMode.keyboard
            background: Rectangle { color: row.highlighted ? Theme.rowPressed : Theme.rowBackground }
            Accessible.name: model.label
            // The address or its name only: the order of the rows carries the volume.
            contentItem: Label {
                // Host names keep their end: the domain tells more than the first label.
                elide: Text.ElideLeft
                verticalAlignment: Text.AlignVCenter
                text: row.model.label
                font.pixelSize: Theme.subhead
                color: Theme.text
            }
        }
    }
}
