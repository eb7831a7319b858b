pragma ComponentBehavior: Bound
import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Tallymo

// The day screen: the day's title and totals, the segmented control (hours, map, addresses) and
// the page shown. A swipe across a list (or Left and Right) moves one day: the old day slides out as a picture
// while the new one loads; further swipes wait for the slide. The back control opens the period
// view (the periods view for a daily plan).
ScreenPage {
    id: page
    required property DayViewController controller
    readonly property DayViewController day: controller
    objectName: "dayPage"
    background: Rectangle { color: Theme.contentBackground }
    header: PageHeader {
        trailingWidth: trailing.visible ? trailing.width : 0
        title: page.day.title
        backText: qsTr("Back")
        onBack: page.openPeriods()
        HeaderButton {
            id: trailing
            objectName: "closeHistory"
            // Beside the main screen the history stays; there is nothing to close to.
            visible: !page.navigator.main.beside
            anchors.right: parent.right
            anchors.verticalCenter: parent.verticalCenter
            text: qsTr("Done")
            font.weight: Theme.heading
            onClicked: page.closeHistory()
        }
    }

    function closeHistory() {
        const view = StackView.view
        if (view)
            view.clear()
    }
    function openPeriods() {
        page.navigator.show(Navigator.Period, page.day.cycleController())
    }
    // -1 the previous day, +1 the next. The picture of the old day is the last frame drawn; the
    // day screen refuses a swipe while one slides.
    function moveDay(step) {
        frozen.live = false
        // DayViewController.Swipe: 0 to the left (the next day), 1 to the right.
        if (!page.day.swipe(step > 0 ? 0 : 1)) {
            frozen.live = !slide.running
            return
        }
        frozen.z = 1
        slide.to = step > 0 ? -stage.width : stage.width
        slide.start()
    }

    Keys.onLeftPressed: page.moveDay(-1)
    Keys.onRightPressed: page.moveDay(1)

    ColumnLayout {
        anchors.fill: parent
        spacing: 6
        TabBar {
            id: segments
            objectName: "segments"
            Layout.alignment: Qt.AlignHCenter
            Layout.topMargin: 8
            currentIndex: page.day.activeIndex
            // Left and Right on a segment reached by Tab choose the segment next to it.
            onCurrentIndexChanged: if (currentIndex !== page.day.activeIndex) page.day.setSegment(currentIndex)
            Repeater {
                model: page.day.segments
                TabButton {
                    required property int index
                    required property string modelData
                    objectName: "segment" + index
                    // A click leaves the keyboard with the page: the arrows go on moving the day.
                    focusPolicy: Qt.TabFocus
                    text: modelData
                    width: implicitWidth + 24
                    onClicked: page.day.setSegment(index)
                }
            }
        }
        StyledLine {
            objectName: "usageLine"
            Layout.alignment: Qt.AlignHCenter
            runs: page.day.usageLine
        }
        Item {
            id: stage
            Layout.fillWidth: true
            Layout.fillHeight: true
            clip: true
            Item {
                id: content
                width: stage.width
                height: stage.height
                Rectangle { anchors.fill: parent; color: Theme.contentBackground }
                // The page of the segment chosen, made when it is chosen.
                Repeater {
                    model: page.day.activeIndex === 0 ? 1 : 0
                    ChartList {
                        width: content.width
                        height: content.height
                        focus: true
                        controller: page.day.hours
                        onCloseRequested: page.closeHistory()
                        onSwiped: (step) => page.moveDay(step)
                    }
                }
                Repeater {
                    model: page.day.activeIndex === 1 ? 1 : 0
                    MapPane {
                        width: content.width
                        height: content.height
                        focus: true
                        controller: page.day.map
                    }
                }
                Repeater {
                    model: page.day.activeIndex === 2 ? 1 : 0
                    NetList {
                        width: content.width
                        height: content.height
                        focus: true
                        controller: page.day.addresses
                        onCloseRequested: page.closeHistory()
                        onSwiped: (step) => page.moveDay(step)
                    }
                }
            }
            // The day on show, drawn again behind it; frozen and raised, it slides out.
            ShaderEffectSource {
                id: frozen
                objectName: "frozenDay"
                z: -1
                width: stage.width
                height: stage.height
                sourceItem: content
                hideSource: false
            }
            NumberAnimation {
                id: slide
                target: frozen
                property: "x"
                from: 0
                duration: 250
                easing.type: Easing.OutQuad
                onFinished: {
                    frozen.z = -1
                    frozen.x = 0
                    frozen.live = true
                    page.day.slideFinished()
                }
            }
        }
    }

}
