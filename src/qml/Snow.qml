import QtQuick
import QtQuick.Particles
import Tallymo

// "Winter Wonderland": flakes fall from a strip just above the top edge.
Item {
    id: root
    required property MainScreenController controller
    readonly property var cell: controller.snowEmitter(width, height)

    ParticleSystem {
        id: system
        running: root.controller.stillFrames || Application.state === Qt.ApplicationActive
    }
    ImageParticle {
        system: system
        source: "qrc:/qt/qml/Tallymo/icons/flake.svg"
        alphaVariation: root.cell.alphaRange
    }
    Emitter {
        objectName: "snowEmitter"
        system: system
        x: root.cell.x
        y: root.cell.y
        width: root.cell.width
        height: root.cell.height
        emitRate: root.cell.rate
        lifeSpan: root.cell.lifeSpan
        size: root.cell.size
        sizeVariation: root.cell.sizeRange
        velocity: AngleDirection {
            angle: root.cell.angle
            angleVariation: root.cell.angleRange
            magnitude: root.cell.speed
            magnitudeVariation: root.cell.speedRange
        }
        acceleration: PointDirection { y: root.cell.acceleration }
    }
}
