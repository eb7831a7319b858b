// qmllint disable unqualified
// (The list's header, footer and rows read the page around them. Qt 6.4's qmllint calls that
// unqualified unless the file binds its components, and bound components break list headers and
// footers in 6.4.)
import QtQuick
import QtQuick.Controls
import Tallymo

// A theme picker: the current row checked; choosing a row stores it and goes back.
ScreenPage {
    id: page
    required property PickerController controller
    objectName: "pickerPage"
    header: PageHeader { title: page.controller.title; onBack: page.close() }

    Connections {
        target: page.controller
        function onGoBack() { page.close() }
    }

    ListView {
        id: list
        anchors.fill: parent
        model: page.controller.rows
        focus: true
        keyNavigationEnabled: true
        currentIndex: page.controller.checkedRow
        header: Column {
            width: list.width
            topPadding: 20
            Label {
                visible: page.controller.header !== ""
                leftPadding: 16
                bottomPadding: 6
                text: page.controller.header.toUpperCase()
                font.pixelSize: Theme.footnote
                color: Theme.secondaryText
            }
        }
        footer: Label {
            width: list.width
            padding: 16
            wrapMode: Text.Wrap
            visible: text !== ""
            text: page.controller.error !== "" ? page.controller.error : page.controller.footer
            font.pixelSize: Theme.footnote
            color: page.controller.error !== "" ? Theme.error : Theme.secondaryText
        }
        Component.onCompleted: positionViewAtIndex(Math.max(0, page.controller.checkedRow), ListView.Center)
        delegate: ItemDelegate {
            id: row
            required property int index
            required property var model
            readonly property string title: model.title
            readonly property bool isChecked: model.checked
            readonly property var colors: model.colors
            width: list.width
            height: page.controller.swatches ? 100 : 48
            highlighted: ListView.isCurrentItem && list.activeFocus && InputMode.keyboard
            background: Rectangle { color: row.down || row.highlighted ? Theme.rowPressed : Theme.rowBackground }
            Accessible.name: title
            Accessible.checkable: true
            Accessible.checked: isChecked
            contentItem: Item {
                Label {
                    visible: !page.controller.swatches
                    anchors.verticalCenter: parent.verticalCenter
                    text: row.title
                    font: row.model.ownFont ? row.model.font : Qt.font({ pixelSize: Theme.body })
                    color: Theme.text
                }
                Row {
                    visible: page.controller.swatches
                    anchors.left: parent.left
                    anchors.verticalCenter: parent.verticalCenter
                    Repeater {
                        model: row.colors
                        Rectangle {
                            required property color modelData
                            width: page.controller.swatchWidth(row.width)
                            height: page.controller.swatchHeight(row.height)
                            color: modelData
                        }
                    }
                }
                Label {
                    anchors.right: parent.right
                    anchors.verticalCenter: parent.verticalCenter
                    visible: row.isChecked
                    text: "\u2713"
                    font.pixelSize: Theme.title
                    font.weight: Font.Bold
                    color: Theme.accent
                }
            }
            onClicked: page.controller.choose(index)
            Keys.onReturnPressed: page.controller.choose(index)
        }
    }
}
