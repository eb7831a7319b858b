import QtQuick
import QtQuick.Controls

// A line of styled runs (TextRun): the network glyphs as icons, numbers and units in their sizes.
Row {
    id: line
    property var runs: []
    property int numberSize: 17
    property int unitSize: 12
    property color color: "#111111"
    spacing: 0
    Repeater {
        model: line.runs
        Item {
            required property var modelData
            readonly property bool glyph: modelData.style === 0
            readonly property string glyphName: modelData.text.trim()
            width: glyph ? glyphIcon.width + (modelData.text.length - 1) * 4 : label.implicitWidth
            height: Math.max(label.implicitHeight, 18)
            Image {
                id: glyphIcon
                visible: parent.glyph
                anchors.right: parent.right
                anchors.rightMargin: 4
                anchors.verticalCenter: parent.verticalCenter
                width: 14
                height: 14
                sourceSize: Qt.size(28, 28)
                source: parent.glyph ? "qrc:/qt/qml/Tallymo/icons/glyph-" + parent.glyphName + "-grey.svg" : ""
            }
            Label {
                id: label
                visible: !parent.glyph
                anchors.baseline: parent.bottom
                anchors.baselineOffset: -4
                text: parent.glyph ? "" : parent.modelData.text
                font.pixelSize: parent.modelData.style === 1 ? line.numberSize : line.unitSize
                font.weight: Font.Light
                color: line.color
            }
        }
    }
}
