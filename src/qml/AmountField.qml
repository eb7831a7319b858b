pragma ComponentBehavior: Bound
import QtQuick
import QtQuick.Controls
import Tallymo
import QtQuick.Layouts

// An amount screen's field and its MB / GB control; the controller filters what is typed.
ColumnLayout {
    id: field
    required property ByteController controller
    // Enter in the field.
    signal accepted()
    spacing: 10

    RowLayout {
        Layout.fillWidth: true
        Layout.leftMargin: 16
        Layout.rightMargin: 16
        TextField {
            id: numberField
            objectName: "numberField"
            Layout.fillWidth: true
            text: field.controller.text
            inputMethodHints: Qt.ImhFormattedNumbersOnly
            placeholderText: "0"
            font.pixelSize: Theme.largeTitle
            focus: true
            // Shown with what is stored, all selected: typing replaces it.
            onVisibleChanged: if (visible) { forceActiveFocus(); selectAll() }
            Accessible.name: field.controller.title
            onAccepted: field.accepted()
            onTextEdited: {
                field.controller.text = text
                if (text !== field.controller.text)
                    text = field.controller.text
            }
        }
        Label { objectName: "lUnit"; text: field.controller.unitLabel; font.pixelSize: Theme.title; color: Theme.strongSecondaryText }
    }
    RowLayout {
        Layout.alignment: Qt.AlignHCenter
        spacing: 0
        Repeater {
            model: field.controller.units
            Button {
                required property int index
                required property string modelData
                objectName: "unit" + modelData
                text: modelData
                checkable: true
                checked: field.controller.unit === index
                implicitWidth: 84
                onClicked: field.controller.unit = index
            }
        }
    }
    Label {
        Layout.fillWidth: true
        Layout.leftMargin: 16
        Layout.rightMargin: 16
        wrapMode: Text.Wrap
        text: field.controller.footer
        font.pixelSize: Theme.footnote
        color: Theme.secondaryText
    }
}
