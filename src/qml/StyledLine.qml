pragma ComponentBehavior: Bound
import QtQuick
import QtQuick.Controls

// A line of styled runs (TextRun): the network glyphs as icons, numbers and units in their sizes.
Row {
    id: line
    property var runs: []
    property int numberSize: 17
    property int unitSize: 12
    property color color: Theme.text
    // The line as a screen reader says it: the glyphs by the networks' names.
    readonly property string spokenText: words(true)
    // The numbers and units only.
    readonly property string amountText: words(false)
    function words(glyphs) {
        let said = []
        for (const run of runs) {
            const text = run.text.trim()
            if (run.style !== 0)
                said.push(text)
            else if (glyphs)
                said.push(text === "c" ? qsTr("Cellular") : text === "w" ? qsTr("Wi-Fi") : text)
        }
        return said.filter(w => w !== "").join(" ")
    }
    spacing: 0
    Accessible.role: Accessible.StaticText
    Accessible.name: spokenText
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
                sourceSize.width: 28; sourceSize.height: 28
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
