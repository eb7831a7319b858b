import QtQuick
import QtQuick.Controls
import Tallymo

// One row of a grouped table (the roles of MenuController): it opens a screen, carries a check mark
// or a switch, or is a button; the section's footer follows the last row of a section. Rows of
// lists without a kind are rows that open a screen.
Column {
    id: row
    required property int index
    required property var model
    readonly property int kind: model.kind === undefined ? MenuController.Disclosure : model.kind
    readonly property string title: model.title
    readonly property string detail: model.detail === undefined ? "" : model.detail
    readonly property string footerText: model.footer === undefined ? "" : model.footer
    readonly property bool isOn: model.on === true
    readonly property bool isButton: kind === MenuController.Button || kind === MenuController.DestructiveButton
    readonly property bool current: ListView.isCurrentItem && ListView.view.activeFocus && InputMode.keyboard
    signal tapped()
    signal switched(bool on)
    width: ListView.view.width
    enabled: model.enabled === undefined || model.enabled

    // Enter or Space on the current row.
    function activate() {
        if (!enabled)
            return
        if (kind === MenuController.Switch)
            row.switched(!isOn)
        else
            row.tapped()
    }

    ItemDelegate {
        id: cell
        width: row.width
        height: 48
        leftPadding: 16
        rightPadding: 12
        focusPolicy: Qt.NoFocus
        highlighted: row.current
        background: Rectangle { color: cell.down || cell.highlighted ? Theme.rowPressed : Theme.rowBackground }
        Accessible.role: row.kind === MenuController.Switch || row.kind === MenuController.Check
                         ? Accessible.CheckBox : Accessible.Button
        Accessible.name: row.detail === "" ? row.title : row.title + ", " + row.detail
        Accessible.checkable: row.kind === MenuController.Switch || row.kind === MenuController.Check
        Accessible.checked: row.isOn
        Accessible.description: row.footerText
        onClicked: row.activate()
        // qmllint disable deferred-property-id
        contentItem: Item {
            Label {
                anchors.verticalCenter: parent.verticalCenter
                anchors.left: parent.left
                anchors.right: row.isButton ? parent.right : trailing.left
                anchors.rightMargin: row.isButton ? 0 : 8
                horizontalAlignment: row.isButton ? Text.AlignHCenter : Text.AlignLeft
                elide: Text.ElideRight
                text: row.title
                font.pixelSize: Theme.body
                color: !row.enabled ? Theme.disabledText
                       : row.kind === MenuController.DestructiveButton ? Theme.destructive
                       : row.isButton ? Theme.accent : Theme.text
            }
            Row {
                id: trailing
                visible: !row.isButton
                anchors.right: parent.right
                anchors.verticalCenter: parent.verticalCenter
                spacing: 8
                Label {
                    anchors.verticalCenter: parent.verticalCenter
                    width: Math.min(implicitWidth, cell.width * 0.5)
                    elide: Text.ElideLeft
                    text: row.detail
                    font.pixelSize: Theme.body
                    color: Theme.secondaryText
                }
                Label {
                    anchors.verticalCenter: parent.verticalCenter
                    visible: row.kind === MenuController.Disclosure
                    text: "\u203A"
                    font.pixelSize: Theme.largeTitle
                    color: Theme.disabledText
                }
                Label {
                    anchors.verticalCenter: parent.verticalCenter
                    visible: row.kind === MenuController.Check && row.isOn
                    text: "\u2713"
                    font.pixelSize: Theme.title
                    font.weight: Font.Bold
                    color: Theme.accent
                }
                Switch {
                    id: toggle
                    objectName: "switch"
                    anchors.verticalCenter: parent.verticalCenter
                    visible: row.kind === MenuController.Switch
                    focusPolicy: Qt.NoFocus
                    padding: 0
                    checked: row.isOn
                    onToggled: row.switched(checked)
                    Accessible.ignored: true
                    indicator: Rectangle {
                        implicitWidth: 51
                        implicitHeight: 31
                        radius: 15.5
                        color: toggle.checked ? Theme.switchOn : Theme.separator
                        Rectangle {
                            x: toggle.checked ? parent.width - width - 2 : 2
                            anchors.verticalCenter: parent.verticalCenter
                            width: 27
                            height: 27
                            radius: 13.5
                            color: "white"
                            border.color: Theme.switchKnobBorder
                            Behavior on x { NumberAnimation { duration: 120 } }
                        }
                    }
                }
            }
        }
        // qmllint enable deferred-property-id
    }
    Label {
        id: footerLabel
        objectName: "sectionFooter"
        width: row.width
        visible: text !== ""
        leftPadding: 16
        rightPadding: 16
        topPadding: 6
        bottomPadding: 6
        wrapMode: Text.Wrap
        text: row.footerText
        font.pixelSize: Theme.footnote
        color: Theme.secondaryText
    }
}
