import QtQuick
import Tallymo

// "DONKEY Bounce": the image bounces in a box larger than the screen, stepped once per frame.
Item {
    id: root
    required property MainScreenController controller
    readonly property real imageSize: 96
    clip: false

    DonkeyBounce { id: physics }

    Image {
        objectName: "donkey"
        source: "qrc:/qt/qml/Tallymo/icons/donkey.svg"
        sourceSize.width: root.imageSize; sourceSize.height: root.imageSize
        width: root.imageSize
        height: root.imageSize
        x: physics.boxX + physics.x - width / 2
        y: physics.boxY + physics.y - height / 2
        rotation: physics.rotation
    }

    FrameAnimation {
        running: root.visible && !root.controller.stillFrames && Application.state === Qt.ApplicationActive
        onTriggered: physics.step(frameTime)
    }

    // Starts once the view has its size.
    property bool started: false
    function begin() {
        if (started || width <= 0 || height <= 0)
            return
        started = true
        if (controller.stillFrames)
            physics.fix(0, 40)
        physics.start(width, height, imageSize, controller.percent)
        for (let frame = 0; controller.stillFrames && frame < 12; ++frame)
            physics.step(1 / 60)
    }
    onWidthChanged: begin()
    onHeightChanged: begin()
    Component.onCompleted: begin()
}
