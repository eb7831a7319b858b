pragma ComponentBehavior: Bound
import QtQuick
import QtQuick.Shapes
import QtQuick.Window
import TallymoWatch

// The round face (the plan at a glance) above the complication strip, both drawn from the
// WatchFace's figures.
Window {
    id: window
    required property WatchFace face
    readonly property bool ready: face.state === "ready"
    readonly property string summary: ready
        ? window.face.percentText + ", " + window.face.forecastText + ", " + window.face.usedText + ", " + window.face.leftText
          + ", " + window.face.timeLeftText
        : window.face.messageText

    width: 300
    height: 380
    minimumWidth: 300
    minimumHeight: 380
    visible: true
    color: "black"
    title: qsTr("Tallymo Watch")

    // A ring of `fraction` of a full turn from twelve o'clock, over its track.
    component Ring: Item {
        id: ring
        property real fraction: 0
        property color tint: "white"
        property real thickness: 16
        Shape {
            anchors.fill: parent
            antialiasing: true
            ShapePath {
                strokeColor: "#2c2c2e"
                strokeWidth: ring.thickness
                fillColor: "transparent"
                capStyle: ShapePath.RoundCap
                PathAngleArc {
                    centerX: ring.width / 2; centerY: ring.height / 2
                    radiusX: (ring.width - ring.thickness) / 2; radiusY: radiusX
                    startAngle: -90; sweepAngle: 360
                }
            }
            ShapePath {
                strokeColor: ring.fraction > 0 ? ring.tint : "transparent"
                strokeWidth: ring.thickness
                fillColor: "transparent"
                capStyle: ShapePath.RoundCap
                PathAngleArc {
                    centerX: ring.width / 2; centerY: ring.height / 2
                    radiusX: (ring.width - ring.thickness) / 2; radiusY: radiusX
                    startAngle: -90; sweepAngle: Math.max(ring.fraction * 360, 0.5)
                }
            }
        }
    }

    // The face keeps its size in a larger window, in the middle.
    Item {
        anchors.centerIn: parent
        width: 300
        height: 380

        Rectangle {
            id: dial
            objectName: "face"
            width: 300
            height: 300
            radius: 150
            color: "#0d0d0f"
            Accessible.role: Accessible.StaticText
            Accessible.name: window.summary

            Ring {
                anchors.fill: parent
                anchors.margins: 8
                fraction: window.face.fraction
                tint: window.face.color
                thickness: 18
            }

            Column {
                anchors.centerIn: parent
                width: 196
                spacing: 2
                visible: window.ready
                Text {
                    width: parent.width
                    horizontalAlignment: Text.AlignHCenter
                    text: window.face.percentText
                    color: "white"
                    font.pixelSize: 60
                    font.weight: Font.DemiBold
                    fontSizeMode: Text.HorizontalFit
                    minimumPixelSize: 30
                }
                Text {
                    width: parent.width
                    horizontalAlignment: Text.AlignHCenter
                    text: window.face.forecastText
                    color: window.face.textColor
                    font.pixelSize: 20
                    font.weight: Font.DemiBold
                }
                Item { width: 1; height: 8 }
                Repeater {
                    model: [window.face.usedText, window.face.leftText, window.face.timeLeftText]
                    Text {
                        required property string modelData
                        width: 196
                        horizontalAlignment: Text.AlignHCenter
                        text: modelData
                        color: "#d1d1d6"
                        font.pixelSize: 15
                        elide: Text.ElideRight
                    }
                }
            }

            Column {
                anchors.centerIn: parent
                width: 190
                spacing: 10
                visible: !window.ready
                Text {
                    width: parent.width
                    horizontalAlignment: Text.AlignHCenter
                    text: "Tallymo"
                    color: "#8e8e93"
                    font.pixelSize: 15
                    font.weight: Font.DemiBold
                }
                Text {
                    width: parent.width
                    horizontalAlignment: Text.AlignHCenter
                    wrapMode: Text.WordWrap
                    text: window.face.messageText
                    color: "white"
                    font.pixelSize: 19
                }
            }
        }

        // The complication: a compact strip with a small ring.
        Rectangle {
            objectName: "complication"
            x: 10
            y: 314
            width: 280
            height: 56
            radius: 28
            color: "#1c1c1e"
            Accessible.role: Accessible.StaticText
            Accessible.name: window.summary

            Ring {
                id: small
                x: 10
                anchors.verticalCenter: parent.verticalCenter
                width: 38
                height: 38
                fraction: window.face.fraction
                tint: window.face.color
                thickness: 5
            }
            // Percent, then the forecast (shortened when it must be), and the time left at the end.
            Item {
                anchors.left: small.right
                anchors.leftMargin: 10
                anchors.right: parent.right
                anchors.rightMargin: 18
                anchors.verticalCenter: parent.verticalCenter
                height: stripPercent.height
                visible: window.ready
                Text {
                    id: stripPercent
                    text: window.face.percentText
                    color: "white"
                    font.pixelSize: 20
                    font.weight: Font.DemiBold
                }
                Text {
                    anchors.left: stripPercent.right
                    anchors.leftMargin: 8
                    anchors.right: stripDays.left
                    anchors.rightMargin: 8
                    anchors.baseline: stripPercent.baseline
                    text: window.face.forecastText
                    color: window.face.textColor
                    font.pixelSize: 17
                    font.weight: Font.DemiBold
                    elide: Text.ElideRight
                }
                Text {
                    id: stripDays
                    anchors.right: parent.right
                    anchors.baseline: stripPercent.baseline
                    text: window.face.daysText
                    color: "#d1d1d6"
                    font.pixelSize: 15
                }
            }
            Text {
                anchors.left: small.right
                anchors.leftMargin: 10
                anchors.right: parent.right
                anchors.rightMargin: 18
                anchors.verticalCenter: parent.verticalCenter
                visible: !window.ready
                text: window.face.messageText
                color: "#d1d1d6"
                font.pixelSize: 14
                wrapMode: Text.WordWrap
                maximumLineCount: 2
                elide: Text.ElideRight
            }
        }
    }
}
