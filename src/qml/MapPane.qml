pragma ComponentBehavior: Bound
import QtQuick
import QtQuick.Controls
import Tallymo

// The day's usage map: the page's pins over a graticule, and the strip of cards below ("All
// Locations" first, then each hour); the card the strip rests on chooses the page.
Item {
    id: pane
    required property MapViewController controller
    readonly property real mapHeight: height - strip.height
    focus: true
    Keys.onPressed: (event) => {
        if (event.key === Qt.Key_Plus || event.key === Qt.Key_Equal) { tiles.zoomBy(2, map.width / 2, map.height / 2); event.accepted = true }
        else if (event.key === Qt.Key_Minus) { tiles.zoomBy(0.5, map.width / 2, map.height / 2); event.accepted = true }
    }

    BusyIndicator { anchors.centerIn: parent; running: pane.controller.busy; visible: running }
    Label {
        objectName: "noLocations"
        anchors.centerIn: parent
        width: parent.width - 48
        horizontalAlignment: Text.AlignHCenter
        wrapMode: Text.Wrap
        visible: !pane.controller.busy && !pane.controller.hasData
        text: pane.controller.noDataText
        font.pixelSize: Theme.body
        color: Theme.secondaryText
    }

    Item {
        id: map
        objectName: "map"
        visible: pane.controller.hasData
        width: parent.width
        height: pane.mapHeight
        clip: true
        onWidthChanged: pane.controller.setViewSize(width, height)
        onHeightChanged: pane.controller.setViewSize(width, height)
        Component.onCompleted: pane.controller.setViewSize(width, height)
        Rectangle { anchors.fill: parent; color: Theme.mapLand }
        TileMap {
            id: tiles
            objectName: "tiles"
            anchors.fill: parent
            urlTemplate: pane.controller.tileUrlTemplate
            Component.onCompleted: if (pane.controller.currentPage >= 0) mapRect = pane.controller.visibleMapRect
            Connections {
                target: pane.controller
                function onPageShown() { tiles.mapRect = pane.controller.visibleMapRect }
            }
        }
        // Pan with a finger or the mouse, zoom with the wheel, a pinch, or + and -.
        DragHandler {
            id: pan
            target: null
            property point last
            onActiveChanged: last = centroid.position
            onCentroidChanged: {
                if (!active)
                    return
                tiles.panBy(centroid.position.x - last.x, centroid.position.y - last.y)
                last = centroid.position
            }
        }
        WheelHandler {
            onWheel: (event) => tiles.zoomBy(Math.pow(2, event.angleDelta.y / 480), point.position.x, point.position.y)
        }
        PinchHandler {
            target: null
            property real lastScale: 1
            onActiveChanged: lastScale = 1
            onActiveScaleChanged: {
                tiles.zoomBy(activeScale / lastScale, centroid.position.x, centroid.position.y)
                lastScale = activeScale
            }
        }
        Repeater {
            model: pane.controller.shownPins
            Item {
                id: pin
                required property int index
                required property var model
                readonly property point at: tiles.revision >= 0 ? tiles.project(model.latitude, model.longitude) : Qt.point(-1, -1)
                objectName: "pin" + index
                x: at.x
                y: at.y
                Rectangle {
                    x: -9; y: -30; width: 18; height: 18; radius: 9
                    color: Theme.mapPin; border.color: "white"; border.width: 2
                }
                Rectangle { x: -1; y: -13; width: 2; height: 13; color: Theme.mapPinStem }
                Rectangle {
                    id: callout
                    objectName: "callout" + pin.index
                    // Kept inside the map near its edges: above the pin, or below it where the
                    // map's top edge (or the notice over it) would cut it.
                    readonly property real above: -30 - height - 6
                    readonly property real topEdge: offlineNotice.visible ? offlineNotice.y + offlineNotice.height + 4 : 4
                    x: Math.max(4 - pin.x, Math.min(-width / 2, map.width - pin.x - width - 4))
                    y: pin.y + above >= topEdge ? above : 6
                    width: calloutText.width + 16; height: calloutText.height + 10
                    radius: 8
                    color: Theme.rowBackground
                    border.color: Theme.separator
                    StyledLine {
                        id: calloutText
                        anchors.centerIn: parent
                        runs: pin.model.callout
                        numberSize: 13
                        unitSize: 10
                    }
                }
                Accessible.role: Accessible.Graphic
                Accessible.name: qsTr("Place: %1").arg(calloutText.spokenText)
            }
        }
    }
    Label {
        objectName: "attribution"
        anchors.right: map.right
        anchors.bottom: map.bottom
        visible: map.visible && text !== ""
        padding: 3
        text: tiles.attribution
        font.pixelSize: Theme.smallPrint
        color: Theme.mapLabel
        background: Rectangle { color: Theme.mapLabelBackground }
    }
    Label {
        id: offlineNotice
        objectName: "offlineNotice"
        anchors.horizontalCenter: map.horizontalCenter
        anchors.top: map.top
        anchors.topMargin: 6
        visible: map.visible && tiles.offline
        // Within the map, on two lines where one does not fit.
        width: Math.min(implicitWidth, map.width - 16)
        wrapMode: Text.Wrap
        horizontalAlignment: Text.AlignHCenter
        padding: 6
        text: qsTr("The map cannot be loaded; the places are shown without it.")
        font.pixelSize: Theme.caption
        color: Theme.mapLabel
        background: Rectangle { color: Theme.mapNoteBackground; radius: 6 }
    }

    ListView {
        id: strip
        objectName: "cardStrip"
        anchors.bottom: parent.bottom
        width: parent.width
        height: pane.controller.hasData ? 96 : 0
        visible: pane.controller.hasData
        orientation: ListView.Horizontal
        snapMode: ListView.SnapOneItem
        highlightRangeMode: ListView.StrictlyEnforceRange
        model: pane.controller.cards
        clip: true
        keyNavigationEnabled: true
        onMovementEnded: pane.controller.updatePinsForScroll(contentX - originX, width)
        onCurrentIndexChanged: if (!moving) pane.controller.showPinsForHour(currentIndex, true)
        delegate: ItemDelegate {
            id: card
            required property int index
            required property var model
            width: strip.width
            height: strip.height
            onClicked: {
                const next = pane.controller.nextCardForTap(index)
                if (next >= 0)
                    strip.currentIndex = next
            }
            // The first card's line is only a sign that more follow.
            Accessible.name: card.index === 0 ? card.model.title : card.model.title + ", " + cardLine.spokenText
            background: Rectangle {
                anchors.fill: parent
                anchors.margins: 8
                radius: 12
                color: Theme.rowBackground
                border.color: Theme.separator
            }
            // qmllint disable deferred-property-id
            contentItem: Column {
                leftPadding: 24
                topPadding: 10
                spacing: 4
                Label { text: card.model.title; font.pixelSize: Theme.body; font.weight: Theme.heading; color: Theme.text }
                StyledLine { id: cardLine; runs: card.model.line; numberSize: 15; unitSize: 11 }
            }
            // qmllint enable deferred-property-id
        }
    }
}
