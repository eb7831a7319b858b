import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Tallymo

// The first-run setup: introduction, bill day, data cap, usage so far, finish.
ScreenPage {
    id: page
    required property SetupController controller
    objectName: "setupFlow"
    background: Rectangle { color: Theme.pageBackground }

    header: ToolBar {
        height: 52
        background: Rectangle { color: Theme.pageBackground }
        HeaderButton {
            id: back
            objectName: "setupBack"
            anchors.left: parent.left
            anchors.verticalCenter: parent.verticalCenter
            visible: page.controller.step > 0 && page.controller.step < 4
            text: "\u2039 " + qsTr("Back")
            onClicked: page.controller.back()
        }
        Label {
            objectName: "setupTitle"
            anchors.centerIn: parent
            // Clear of the buttons on both sides; a long title shrinks, then is cut.
            width: parent.width - 2 * Math.max(back.width, next.width) - 16
            horizontalAlignment: Text.AlignHCenter
            elide: Text.ElideRight
            fontSizeMode: Text.HorizontalFit
            minimumPixelSize: 12
            text: page.controller.title
            font.pixelSize: Theme.body
            font.weight: Theme.heading
            color: Theme.text
            Accessible.role: Accessible.Heading
        }
        HeaderButton {
            id: next
            objectName: "setupNext"
            anchors.right: parent.right
            anchors.verticalCenter: parent.verticalCenter
            text: page.controller.button
            font.weight: Theme.heading
            onClicked: page.controller.next()
        }
    }

    // The keyboard is the setup's from its first frame: Return goes on without a click first.
    focus: true
    Component.onCompleted: forceActiveFocus()
    Keys.onReturnPressed: page.controller.next()
    Keys.onEnterPressed: page.controller.next()

    StackLayout {
        anchors.fill: parent
        anchors.topMargin: 24
        currentIndex: page.controller.step

        Label {
            objectName: "setupIntro"
            padding: 24
            wrapMode: Text.Wrap
            text: page.controller.intro
            font.pixelSize: Theme.body
            color: Theme.text
        }
        ColumnLayout {
            spacing: 8
            WheelPicker {
                objectName: "billdayPicker"
                controller: page.controller.billdate
                Layout.alignment: Qt.AlignHCenter
                Layout.preferredHeight: 200
            }
            Label {
                Layout.fillWidth: true
                Layout.leftMargin: 16
                Layout.rightMargin: 16
                wrapMode: Text.Wrap
                text: page.controller.billdate.footer
                font.pixelSize: Theme.footnote
                color: Theme.secondaryText
            }
            Item { Layout.fillHeight: true }
        }
        ColumnLayout {
            AmountField { controller: page.controller.allow; Layout.fillWidth: true }
            Item { Layout.fillHeight: true }
        }
        ColumnLayout {
            AmountField { controller: page.controller.existing; Layout.fillWidth: true }
            Item { Layout.fillHeight: true }
        }
        Label {
            objectName: "setupFinish"
            padding: 24
            wrapMode: Text.Wrap
            text: qsTr("You are all set. Swipe up for the history, swipe left for the settings.")
            font.pixelSize: Theme.body
            color: Theme.text
        }
    }
    Label {
        anchors.bottom: parent.bottom
        width: parent.width
        padding: 16
        visible: text !== ""
        wrapMode: Text.Wrap
        text: page.controller.error
        color: Theme.error
    }
}
