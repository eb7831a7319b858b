import QtQuick
import QtQuick.Controls
import Tallymo

// A screen shown over the main screen, given the app's screen factory. Back goes to the screen
// below, or to the main screen from the first one.
Page {
    required property Screens screens
    background: Rectangle { color: "#f2f2f7" }

    function close() {
        const view = StackView.view
        if (view.depth > 1)
            view.pop()
        else
            view.clear()
    }
}
