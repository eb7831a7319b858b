pragma ComponentBehavior: Bound
import QtQuick
import Tallymo

// The main screen: a gradient in the forecast's colour, the big percentage, the time left, the
// cellular and Wi-Fi totals and the forecast. Every text, font and colour comes from the controller.
Item {
    id: root
    required property MainScreenController controller
    property real parallaxOffset: 0

    focus: true
    Accessible.role: Accessible.Pane
    Accessible.name: qsTr("Data usage")

    onWidthChanged: controller.viewWidth = width
    onHeightChanged: controller.viewHeight = height
    Component.onCompleted: {
        controller.viewWidth = width
        controller.viewHeight = height
    }

    component Stop: GradientStop {
        required property int index
        position: index / 14
        color: root.controller.gradientColors[index]
        Behavior on color {
            enabled: root.controller.gradientAnimated
            ColorAnimation { duration: 1500 }
        }
    }

    Rectangle {
        id: gLayer
        objectName: "gLayer"
        x: 0
        width: parent.width
        y: -root.controller.parallaxEffectY + root.parallaxOffset
        height: parent.height + 2 * root.controller.parallaxEffectY
        gradient: Gradient {
            Stop { index: 0 }
            Stop { index: 1 }
            Stop { index: 2 }
            Stop { index: 3 }
            Stop { index: 4 }
            Stop { index: 5 }
            Stop { index: 6 }
            Stop { index: 7 }
            Stop { index: 8 }
            Stop { index: 9 }
            Stop { index: 10 }
            Stop { index: 11 }
            Stop { index: 12 }
            Stop { index: 13 }
            Stop { index: 14 }
        }
        Behavior on y { enabled: root.controller.parallaxOn; NumberAnimation { duration: 250; easing.type: Easing.OutQuad } }
    }

    // The theme's animation, just above the gradient: made while its theme is on, gone after.
    Item {
        objectName: "themeAnimation"
        anchors.fill: parent
        Repeater {
            model: root.controller.animation === MainScreenController.DonkeyBounce ? 1 : 0
            Donkey { anchors.fill: parent; controller: root.controller }
        }
        Repeater {
            model: root.controller.animation === MainScreenController.WinterWonderland ? 1 : 0
            Snow { anchors.fill: parent; controller: root.controller }
        }
    }

    Text {
        id: lDays
        objectName: "lDays"
        anchors.horizontalCenter: parent.horizontalCenter
        y: parent.height * 0.12
        width: parent.width - 32
        horizontalAlignment: Text.AlignHCenter
        textFormat: Text.RichText
        color: "white"
        text: root.controller.daysText
        Accessible.role: Accessible.StaticText
        Accessible.name: text.replace(/<[^>]*>/g, " ")
    }

    Text {
        id: lPercent
        objectName: "lPercent"
        anchors.horizontalCenter: parent.horizontalCenter
        anchors.verticalCenter: parent.verticalCenter
        anchors.verticalCenterOffset: -parent.height * 0.06
        // Far over the cap ("2000") the number shrinks to the screen's width rather than run off it.
        width: Math.min(implicitWidth, parent.width - 24)
        horizontalAlignment: Text.AlignHCenter
        fontSizeMode: Text.HorizontalFit
        minimumPixelSize: 24
        text: root.controller.percentText
        font: root.controller.percentFont
        color: root.controller.percentColor
        style: root.controller.percentOutlined ? Text.Outline : Text.Normal
        styleColor: root.controller.percentOutlineColor
        Accessible.role: Accessible.StaticText
        Accessible.name: root.controller.percentAccessible
    }

    Text {
        id: lUsedStaticText
        objectName: "lUsedStaticText"
        x: (parent.width + lPercent.implicitWidth) / 2 + 20
        anchors.verticalCenter: lPercent.verticalCenter
        visible: root.controller.usedVisible
        textFormat: Text.RichText
        color: "white"
        text: root.controller.usedText
        Accessible.ignored: true
    }

    Row {
        id: blocks
        anchors.horizontalCenter: parent.horizontalCenter
        y: parent.height * 0.64
        UsageBlock {
            width: root.width / 2
            glyph: root.controller.cellGlyph
            text: root.controller.cellText
            spokenText: root.controller.cellAccessible
            textObjectName: "lCellUsage"
        }
        UsageBlock {
            width: root.width / 2
            glyph: root.controller.wifiGlyph
            text: root.controller.wifiText
            spokenText: root.controller.wifiAccessible
            textObjectName: "lWifiUsage"
        }
    }

    Text {
        id: lMobileData
        objectName: "lMobileData"
        anchors.top: blocks.bottom
        anchors.topMargin: 12
        anchors.horizontalCenter: parent.horizontalCenter
        width: Math.min(parent.width - 40, implicitWidth)
        visible: text !== ""
        horizontalAlignment: Text.AlignHCenter
        elide: Text.ElideRight
        color: "white"
        font.pixelSize: 14
        text: root.controller.mobileDataText
        Accessible.role: Accessible.StaticText
        Accessible.name: text
    }

    Row {
        anchors.horizontalCenter: parent.horizontalCenter
        anchors.bottom: parent.bottom
        anchors.bottomMargin: parent.height * 0.06
        spacing: 12
        visible: root.controller.forecastVisible
        Image {
            id: lIconForecast
            objectName: "lIconForecast"
            anchors.verticalCenter: parent.verticalCenter
            source: root.controller.forecastIcon
            sourceSize.width: 32; sourceSize.height: 32
            Accessible.ignored: true
        }
        Text {
            id: lForecast
            objectName: "lForecast"
            anchors.verticalCenter: parent.verticalCenter
            textFormat: Text.RichText
            color: "white"
            text: root.controller.forecastCaption
            Accessible.role: Accessible.StaticText
            Accessible.name: text.replace(/<[^>]*>/g, " ")
        }
    }

    // The gradient moves against the device's tilt; without a tilt sensor, against the pointer.
    TiltSource {
        id: tilt
        active: available && root.controller.parallaxOn
        onTiltChanged: root.parallaxOffset = root.controller.parallaxOffset(tilt.tilt)
    }
    HoverHandler {
        enabled: !tilt.available && root.controller.parallaxOn
        onPointChanged: root.parallaxOffset = root.controller.parallaxOffset(2 * point.position.y / root.height - 1)
    }
    Connections {
        target: root.controller
        function onParallaxChanged() { if (!root.controller.parallaxOn) root.parallaxOffset = 0 }
    }

    DragHandler {
        target: null
        onTranslationChanged: if (active) root.controller.handlePan(translation.x, translation.y)
    }

    // Two-finger swipes on a touchpad: the scroll so far stands for the drag.
    WheelHandler {
        id: wheel
        property point sum: Qt.point(0, 0)
        acceptedDevices: PointerDevice.TouchPad
        onWheel: (event) => {
            const d = event.pixelDelta.x !== 0 || event.pixelDelta.y !== 0 ? event.pixelDelta : Qt.point(event.angleDelta.x / 8, event.angleDelta.y / 8)
            const sign = event.inverted ? -1 : 1
            sum = Qt.point(sum.x + sign * d.x, sum.y + sign * d.y)
            root.controller.handlePan(sum.x, sum.y)
            settle.restart()
        }
    }
    Timer { id: settle; interval: 300; onTriggered: wheel.sum = Qt.point(0, 0) }

    Keys.onUpPressed: controller.handlePan(0, -100)
    Keys.onLeftPressed: controller.handlePan(-100, 0)
    Shortcut { sequence: "Ctrl+,"; onActivated: root.controller.handlePan(-100, 0) }
    Shortcut { sequence: "Ctrl+H"; onActivated: root.controller.handlePan(0, -100) }
}
