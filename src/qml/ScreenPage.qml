import QtQuick
import QtQuick.Controls
import Tallymo

// A screen shown over the main screen, given the app's screen factory. Back goes to the screen
// below, or to the main screen from the first one.
Page {
    id: screenPage
    required property Navigator navigator
    // What the page's screens are opened for (the plan of a plan's screens).
    property string argument: ""
    background: Rectangle { color: Theme.pageBackground }

    function close() {
        const view = StackView.view
        if (!view)
            return
        if (view.depth > 1)
            view.pop()
        else
            view.clear()
    }
    // A line for the user at the bottom of the screen, for a few seconds.
    function say(text) {
        banner.text = text
        bannerTimer.restart()
    }

    Label {
        id: banner
        objectName: "pageMessage"
        z: 2
        anchors.bottom: parent.bottom
        anchors.horizontalCenter: parent.horizontalCenter
        anchors.bottomMargin: 16
        width: Math.min(implicitWidth, parent.width - 32)
        visible: bannerTimer.running
        padding: 12
        wrapMode: Text.Wrap
        font.pixelSize: Theme.subhead
        color: Theme.bannerText
        background: Rectangle { color: Theme.bannerBackground; radius: 10 }
        Accessible.role: Accessible.AlertMessage
        Accessible.name: text
    }
    Timer { id: bannerTimer; interval: 5000 }
}
