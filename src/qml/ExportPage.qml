// qmllint disable unqualified
// (The list's header, footer and rows read the page around them. Qt 6.4's qmllint calls that
// unqualified unless the file binds its components, and bound components break list headers and
// footers in 6.4.)
import QtQuick
import QtQuick.Controls
import QtQuick.Dialogs
import Tallymo

// The export: how many periods, then the file goes to the mail program or to a file the user
// chooses (without a mail program, into the documents folder, and the app says where). While it runs the rows are
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
    // Leaving the screen stops a running export; the file chooser goes with the screen.
    StackView.onDeactivating: if (page.running) page.controller.cancel()
    StackView.onRemoved: saveDialog.close()

    Connections {
        target: page.controller
        function onLeave() { page.close() }
        function onAlert(message) { page.navigator.main.showMessage(message) }
        function onExported(path) { page.navigator.offerFile(path) }
        function onDestinationAsked(row, question) {
            destination.row = row
            destination.ask(question)
        }
    }
    // Email, Save… or Cancel.
    QuestionDialog {
        id: destination
        property int row: -1
        objectName: "exportDestination"
        onAnswered: (index) => {
            if (index === 0) {
                page.controller.mailRow(row)
            } else if (index === 1) {
                saveDialog.row = row
                saveDialog.selectedFile = page.controller.suggestedFile()
                saveDialog.open()
            }
        }
    }
    // The desktop's own file chooser where it offers one (the portal), else Qt's.
    FileDialog {
        id: saveDialog
        property int row: -1
        objectName: "exportSaveDialog"
        title: qsTr("Save Export")
        fileMode: FileDialog.SaveFile
        acceptLabel: qsTr("Save")
        nameFilters: [qsTr("JSON files (*.json)"), qsTr("All files (*)")]
        defaultSuffix: "json"
        onAccepted: page.controller.saveRow(row, selectedFile)
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
