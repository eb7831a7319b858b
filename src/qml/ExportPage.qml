// qmllint disable unqualified
// (The list's header, footer and rows read the page around them. Qt 6.4's qmllint calls that
// unqualified unless the file binds its components, and bound components break list headers and
// footers in 6.4.)
import QtQuick
import QtQuick.Controls
import Tallymo

// The export: how many periods, then the file goes to the mail program (without one, into the
// documents folder, and the app says where). While it runs the rows are
// dimmed, the chosen one turns, and Cancel takes the place of Back.
ScreenPage {
    id: page
    required property ExportController controller
    readonly property bool running: controller.runningRow >= 0
    objectName: "exportPage"
    header: PageHeader {
        title: page.controller.title
        backText: page.running ? qsTr("Cancel") : qsTr("Back")
        onBack: page.running ? page.controller.cancel() : page.close()
    }
    // Leaving the screen stops a running export.
    StackView.onDeactivating: if (page.running) page.controller.cancel()

    Connections {
        target: page.controller
        function onLeave() { page.close() }
        function onAlert(message) { page.navigator.main.showMessage(message) }
        function onExported(path) { page.navigator.offerFile(path) }
    }

    ListView {
        id: list
        anchors.fill: parent
        anchors.topMargin: 20
        model: page.controller.rowTexts
        focus: true
        keyNavigationEnabled: true
        interactive: false
        footer: Label {
            width: list.width
            padding: 16
            wrapMode: Text.Wrap
            text: page.running ? page.controller.progressText : page.controller.footer
            font.pixelSize: Theme.footnote
            color: Theme.secondaryText
        }
        delegate: ItemDelegate {
            id: row
            required property int index
            required property string modelData
            width: list.width
            height: 48
            leftPadding: 16
            rightPadding: 16
            enabled: !page.running
            highlighted: ListView.isCurrentItem && list.activeFocus && InputMode.keyboard
            background: Rectangle { color: row.down || row.highlighted ? Theme.rowPressed : Theme.rowBackground }
            Accessible.name: modelData
            contentItem: Item {
                Label {
                    anchors.verticalCenter: parent.verticalCenter
                    text: row.modelData
                    font.pixelSize: Theme.body
                    color: page.running ? Theme.disabledText : Theme.accent
                }
                BusyIndicator {
                    anchors.right: parent.right
                    anchors.verticalCenter: parent.verticalCenter
                    height: 28
                    width: 28
                    running: page.controller.runningRow === row.index
                    visible: running
                }
            }
            onClicked: page.controller.tapRow(index)
            Keys.onReturnPressed: page.controller.tapRow(index)
        }
    }
}
