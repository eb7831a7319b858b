import QtQuick

// One network's usage on the main screen: its glyph over its amount (cellular or Wi-Fi).
Column {
    id: block
    property url glyph
    property string text
    property string spokenText
    property alias textObjectName: amount.objectName
    spacing: 8
    Image {
        anchors.horizontalCenter: parent.horizontalCenter
        source: block.glyph
        sourceSize.width: 24; sourceSize.height: 24
        visible: source != ""
        Accessible.ignored: true
    }
    Text {
        id: amount
        width: block.width
        horizontalAlignment: Text.AlignHCenter
        textFormat: Text.RichText
        color: "white"
        text: block.text
        Accessible.role: Accessible.StaticText
        Accessible.name: block.spokenText
    }
}
