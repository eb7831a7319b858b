// qmllint disable unqualified
// (Delegates here read the ids around them. Qt 6.4's qmllint calls that unqualified unless the file
// binds its components, and bound components break this file's list headers and sections in 6.4.)
import QtQuick
import QtQuick.Controls
import Tallymo

// A history list (TimeChartViewController): paired bars, cellular to the left of the centre line
// and Wi-Fi to the right, newest first; the places of each row come from the controller. Pulled
// down far enough it asks to close the history.
FocusScope {
    id: chart
    required property TimeChartViewController controller
    signal closeRequested()
    // A sideways swipe across the list: +1 to the left (what comes next), -1 to the right.
    signal swiped(int step)
    readonly property alias list: list

    // After the layout that grew the header: back to the top unless the list was scrolled past it.
    function showHeader() {
        if (list.headerItem && list.contentY - list.originY < list.headerItem.height)
            list.positionViewAtBeginning()
    }

    BusyIndicator { anchors.centerIn: parent; running: chart.controller.busy; visible: running }
    Label {
        objectName: "noUsage"
        anchors.centerIn: parent
        visible: chart.controller.noUsage
        text: chart.controller.noUsageText()
        font.pixelSize: Theme.body
        color: Theme.secondaryText
    }
    // The centre column: two grey lines 51 points apart.
    Rectangle { x: chart.width / 2 - 26; width: 1; height: parent.height; color: Theme.rowPressed; visible: list.count > 0 }
    Rectangle { x: chart.width / 2 + 25; width: 1; height: parent.height; color: Theme.rowPressed; visible: list.count > 0 }

    ListView {
        id: list
        objectName: "chartList"
        anchors.fill: parent
        model: chart.controller.rows
        focus: true // shown empty too: a day without usage can still be swiped away
        keyNavigationEnabled: true
        boundsBehavior: Flickable.DragOverBounds
        // Short lists can be pulled too; sideways the list only gives a little, for swipes.
        flickableDirection: Flickable.HorizontalAndVerticalFlick
        contentWidth: width
        onDraggingHorizontallyChanged: {
            const over = contentX - originX
            if (!draggingHorizontally && Math.abs(over) > 20)
                chart.swiped(over > 0 ? 1 : -1)
        }
        onContentYChanged: if (chart.controller.pullCloses(dragging, contentY - originY)) chart.closeRequested()
        Keys.onReturnPressed: if (chart.controller.isSelectable && currentIndex >= 0) chart.controller.tapRow(currentIndex)
        // Rows that come after the list was shown: the first is current, for Return and the arrows.
        onCountChanged: if (count > 0 && currentIndex < 0) currentIndex = 0
        header: Item {
            width: list.width
            height: chart.controller.headerHeight + 36
            visible: list.count > 0
            // A header that grows once the rows are in (the "PM" of a 12-hour clock) grows upwards;
            // unless the list was scrolled past it, it is shown whole again.
            onHeightChanged: Qt.callLater(chart.showHeader)
            Image {
                x: list.width / 4 - 28 - 15; y: 2; width: 30; height: 30
                sourceSize.width: 60; sourceSize.height: 60
                source: "qrc:/qt/qml/Tallymo/icons/glyph-c-grey.svg"
                opacity: 0.5
                Accessible.name: qsTr("Cellular")
            }
            Image {
                x: list.width * 3 / 4 + 28 - 15; y: 2; width: 30; height: 30
                sourceSize.width: 60; sourceSize.height: 60
                source: "qrc:/qt/qml/Tallymo/icons/glyph-w-grey.svg"
                opacity: 0.5
                Accessible.name: qsTr("Wi-Fi")
            }
            Label {
                objectName: "periodLabel"
                anchors.horizontalCenter: parent.horizontalCenter
                anchors.bottom: parent.bottom
                width: chart.controller.timeLabelWidth
                height: 20
                horizontalAlignment: Text.AlignHCenter
                fontSizeMode: Text.HorizontalFit
                minimumPixelSize: 8
                text: chart.controller.periodLabel
                font.pixelSize: Theme.subhead
                font.weight: Font.Thin
                color: Theme.text
            }
        }
        delegate: ItemDelegate {
            id: row
            required property int index
            required property var model
            readonly property var places: chart.controller.layoutRow(width, model.cellPercent, model.wifiPercent)
            width: list.width
            height: chart.controller.rowHeight
            padding: 0
            // Rows that cannot be chosen still take the finger, so the list can be pulled by them.
            highlighted: chart.controller.isSelectable && ListView.isCurrentItem && list.activeFocus && InputMode.keyboard
            background: Rectangle { color: chart.controller.isSelectable && (row.highlighted || row.down) ? Theme.pageBackground : "transparent" }
            Accessible.role: chart.controller.isSelectable ? Accessible.Button : Accessible.StaticText
            Accessible.name: qsTr("%1, cellular %2, Wi-Fi %3").arg(model.spokenLabel)
                                 .arg(cellLine.amountText).arg(wifiLine.amountText)
            onClicked: if (chart.controller.isSelectable) chart.controller.tapRow(index)
            // qmllint disable deferred-property-id
            contentItem: Item {
                Rectangle {
                    x: row.places.cellBarX
                    y: row.height / 2 - 7
                    width: row.places.cellBarWidth
                    height: 14
                    radius: 3
                    color: Theme.cellular
                }
                Rectangle {
                    x: row.places.wifiBarX
                    y: row.height / 2 - 7
                    width: row.places.wifiBarWidth
                    height: 14
                    radius: 3
                    color: Theme.wifi
                }
                StyledLine {
                    id: cellLine
                    x: row.places.cellAmountX
                    y: row.height / 2 + 10
                    runs: row.model.cellAmount
                    numberSize: 17
                    unitSize: 12
                }
                StyledLine {
                    id: wifiLine
                    x: row.places.wifiAmountX
                    y: row.height / 2 + 10
                    runs: row.model.wifiAmount
                    numberSize: 17
                    unitSize: 12
                }
                Column {
                    anchors.horizontalCenter: parent.horizontalCenter
                    anchors.verticalCenter: parent.verticalCenter
                    width: chart.controller.timeLabelWidth
                    Label {
                        width: parent.width
                        horizontalAlignment: Text.AlignHCenter
                        text: row.model.timeLabel
                        font.pixelSize: chart.controller.timeLabelFontsize
                        color: chart.controller.isSelectable ? (row.down ? Theme.accentPressed : Theme.accent) : Theme.text
                    }
                    Label {
                        width: parent.width
                        visible: chart.controller.showSubLabel
                        horizontalAlignment: Text.AlignHCenter
                        text: row.model.subLabel
                        font.pixelSize: Theme.footnote
                        color: Theme.secondaryText
                    }
                }
            }
            // qmllint enable deferred-property-id
        }
    }
}
