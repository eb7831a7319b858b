pragma ComponentBehavior: Bound
import QtQuick
import QtQuick.Controls
import Tallymo

// The app's window: the main screen, the screens shown over it, and the first-run setup.
ApplicationWindow {
    id: window
    required property Navigator navigator
    readonly property MainScreenController main: navigator.main

    // On a laptop's or a desktop's screen the history beside the main screen; on a narrow one a
    // phone's proportions. Either fits a 1280×800 screen with its panels.
    readonly property bool roomyScreen: Screen.desktopAvailableWidth >= 1200
    width: roomyScreen ? 980 : 420
    height: Math.max(minimumHeight, Math.min(roomyScreen ? 720 : 820, Screen.desktopAvailableHeight - 40))
    minimumWidth: 320
    minimumHeight: 480
    visible: true
    title: qsTr("Tallymo")
    color: "black"
    // The controls in the pages' own colours, light or dark as the desktop is: a dark desktop's
    // palette otherwise gives dark fields and buttons to pages drawn in the light colours, or the
    // other way round.
    palette {
        window: Theme.pageBackground
        windowText: Theme.text
        base: Theme.rowBackground
        alternateBase: Theme.pageBackground
        text: Theme.text
        button: Theme.rowBackground
        buttonText: Theme.accent
        light: Theme.rowBackground
        midlight: Theme.rowPressed
        mid: Theme.rowPressed
        dark: Theme.separator
        shadow: Theme.separator
        highlight: Theme.accent
        highlightedText: "white"
        brightText: Theme.text // a checked button's text
        placeholderText: Theme.secondaryText
        toolTipBase: Theme.dialogBackground
        toolTipText: Theme.text
    }

    // A wide window shows the other screens beside the main screen, their content no wider than
    // reads well; a narrow one shows them over it.
    readonly property bool wide: width >= 900
    onWideChanged: followWidth()
    Component.onCompleted: followWidth()
    function followWidth() {
        window.main.beside = wide
        if (wide)
            fillLater.restart()
        else
            window.main.presenting = pages.depth > 0
    }
    // Beside the main screen there is always the history, or what was opened in its place.
    function fillBeside() {
        if (wide && pages.depth === 0 && window.main.whatToPop === 0)
            window.main.showMore(false)
    }
    // After what emptied the screens beside: it may be opening another in their place.
    Timer { id: fillLater; interval: 0; onTriggered: window.fillBeside() }

    MainScreen {
        id: mainScreen
        objectName: "mainScreen"
        width: window.wide ? Math.min(480, Math.round(window.width * 0.4)) : parent.width
        height: parent.height
        controller: window.main
        // Away under the screens over it, so its swipes never take their drags.
        visible: window.main.whatToPop === 0 && (window.wide || pages.depth === 0 || pages.busy)
        focus: pages.depth === 0
    }

    Rectangle {
        objectName: "besidePane"
        visible: window.wide
        x: mainScreen.width
        width: parent.width - x
        height: parent.height
        color: Theme.pageBackground
    }

    // Screens over the main screen, or beside it; over it, the main screen is away while any is shown.
    StackView {
        id: pages
        objectName: "pages"
        x: window.wide ? mainScreen.width + Math.round((parent.width - mainScreen.width - width) / 2) : 0
        width: window.wide ? Math.min(parent.width - mainScreen.width, 760) : parent.width
        height: parent.height
        clip: window.wide
        visible: depth > 0
        focus: depth > 0
        onDepthChanged: {
            if (depth === 0) {
                window.main.presenting = false
                window.main.becameVisible()
                mainScreen.forceActiveFocus()
                fillLater.restart()
            }
        }
        // Beside the main screen its figures follow what the screens beside it change.
        onCurrentItemChanged: if (window.wide && depth > 0) window.main.becameVisible()
    }
    Shortcut {
        // The desktop's Back and Cancel keys: Escape, Alt+Left, a keyboard's Back key.
        sequences: ["Escape", "Alt+Left", "Back"]
        enabled: pages.depth > 0
        onActivated: window.back()
    }

    function back() {
        if (pages.depth > 1)
            pages.pop()
        else
            pages.clear()
    }

    Connections {
        target: window.navigator
        function onPageRequested(page, controller, argument, animated) {
            if (pages.depth === 0) {
                if (!window.wide)
                    window.main.becameHidden()
                // The main screen as it is now, for Share Screenshot.
                mainScreen.grabToImage((result) => window.navigator.setSnapshot(result.image, Screen.devicePixelRatio))
            }
            pages.push(page, { navigator: window.navigator, controller: controller, argument: argument },
                       animated ? StackView.PushTransition : StackView.Immediate)
        }
        function onBackRequested() { window.back() }
        function onCloseAllRequested() { pages.clear(StackView.Immediate) }
        function onAsk(question) { fileQuestion.ask(question) }
        function onMessage(text) { window.main.showMessage(text) }
    }
    Connections {
        target: window.main
        // The setup has gone: the keyboard is the main screen's again.
        function onWhatToPopChanged() {
            if (window.main.whatToPop === 0 && pages.depth === 0) {
                mainScreen.forceActiveFocus()
                window.fillBeside()
            }
        }
        function onDismissPresented() {
            pages.clear(StackView.Immediate)
            alert.close()
        }
        function onAlertRequested(value) {
            alert.value = value
            alert.open()
        }
    }
    QuestionDialog {
        id: fileQuestion
        objectName: "fileQuestion"
        onAnswered: (index) => window.navigator.answer(index)
    }

    // The first-run setup over everything while the main screen asks for it.
    Repeater {
        model: window.main.whatToPop === 1 ? 1 : 0
        Rectangle {
            width: window.contentItem.width
            height: window.contentItem.height
            color: Theme.pageBackground
            // In a wide window, a column that reads well in the middle.
            SetupFlow {
                x: Math.round((parent.width - width) / 2)
                width: Math.min(parent.width, 760)
                height: parent.height
                focus: true
                navigator: window.navigator
                controller: window.navigator.newSetup()
            }
        }
    }

    Dialog {
        id: alert
        property var value
        objectName: "alert"
        anchors.centerIn: parent
        width: Math.min(parent.width - 48, 320)
        modal: true
        title: value ? value.title : ""
        standardButtons: Dialog.Ok
        onOpened: window.main.presenting = true
        onClosed: window.main.presenting = !window.wide && pages.depth > 0
        // Return or Enter closes it, as its OK button does.
        Shortcut {
            sequences: ["Return", "Enter"]
            enabled: alert.opened
            onActivated: alert.accept()
        }
        Label {
            width: parent.width
            wrapMode: Text.Wrap
            text: alert.value ? alert.value.message : ""
        }
    }
}
