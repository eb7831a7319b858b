import QtQuick
import QtQuick.Controls
import Tallymo

// The app's window: the main screen, the screens shown over it, and the first-run setup.
ApplicationWindow {
    id: window
    required property Screens screens
    readonly property MainScreenController main: screens.main

    width: 420
    height: 820
    minimumWidth: 320
    minimumHeight: 480
    visible: true
    title: qsTr("Tallymo")
    color: "black"

    MainScreen {
        id: mainScreen
        objectName: "mainScreen"
        anchors.fill: parent
        controller: window.main
        // Away under the screens over it, so its swipes never take their drags.
        visible: window.main.whatToPop === 0 && (pages.depth === 0 || pages.busy)
        focus: pages.depth === 0
    }

    // Screens over the main screen; the main screen is away while any is shown.
    StackView {
        id: pages
        objectName: "pages"
        anchors.fill: parent
        visible: depth > 0
        focus: depth > 0
        onDepthChanged: {
            if (depth === 0) {
                window.main.presenting = false
                window.main.becameVisible()
                mainScreen.forceActiveFocus()
            }
        }
    }
    Shortcut {
        sequences: [StandardKey.Back, StandardKey.Cancel]
        enabled: pages.depth > 0
        onActivated: window.back()
    }

    function back() {
        if (pages.depth > 1)
            pages.pop()
        else
            pages.clear()
    }
    function openPage(file, props, animated) {
        if (pages.depth === 0)
            window.main.becameHidden()
        pages.push(file, Object.assign({ screens: window.screens }, props),
                   animated ? StackView.PushTransition : StackView.Immediate)
    }
    function openScreen(name, animated) {
        const controller = screens.create(name)
        if (controller)
            openPage(screens.pageFor(name), { controller: controller }, animated)
    }

    // A screen for a plan: [name, argument].
    function openScreenWith(spec, animated) {
        const controller = screens.create(spec[0], spec[1])
        if (controller)
            openPage(screens.pageFor(spec[0]), { controller: controller, argument: spec[1] }, animated)
    }
    // The share screen with a picture of the main screen as it is now.
    function openShare() {
        mainScreen.grabToImage((result) => {
            window.screens.setSnapshot(result.image, Screen.devicePixelRatio)
            window.openScreen("ShareScreenshot", false)
        })
    }
    // The day screen on top shows the day before.
    function showPreviousDay() {
        if (pages.currentItem && pages.currentItem.moveDay)
            pages.currentItem.moveDay(-1)
    }
    // The back control of the screen on top.
    function pressBack() {
        if (pages.currentItem && pages.currentItem.header)
            pages.currentItem.header.back()
    }
    // A tap on a row of the screen on top (for pictures of what a row asks).
    function tapRow(row, animated) {
        if (pages.currentItem && pages.currentItem.controller && pages.currentItem.controller.tapRow)
            pages.currentItem.controller.tapRow(row)
    }
    function closeAll() {
        pages.clear(StackView.Immediate)
    }
    // The setup flow over everything, for pictures of its steps.
    function openSetupPreview() {
        openPage("SetupFlow.qml", {}, false)
    }
    function setupNext() {
        if (pages.currentItem && pages.currentItem.controller && pages.currentItem.controller.next)
            pages.currentItem.controller.next()
    }

    Connections {
        target: window.main
        // The settings list, and for a quick action the screen it asks for on top of it.
        function onShowSettingsRequested(push, animated) {
            // The main screen as it is now, for the settings' Share Screenshot.
            mainScreen.grabToImage((result) => window.screens.setSnapshot(result.image, Screen.devicePixelRatio))
            window.openScreen("SettingsController", animated && push === "")
            if (push !== "")
                window.openScreen(push === "dataplan" ? "SelectPlanController" : "ThemeController", false)
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

    Connections {
        target: window.screens
        function onHistoryRequested(plan, animated) {
            window.openScreenWith(["DayViewController", plan], animated)
        }
        function onAsk(question) { fileQuestion.ask(question) }
        function onMessage(text) { window.main.showMessage(text) }
    }
    QuestionDialog {
        id: fileQuestion
        objectName: "fileQuestion"
        onAnswered: (index) => window.screens.answer(index)
    }

    Loader {
        id: setup
        objectName: "setup"
        anchors.fill: parent
        active: window.main.whatToPop === 1
        sourceComponent: SetupFlow { screens: window.screens }
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
        onClosed: window.main.presenting = pages.depth > 0
        Label {
            width: parent.width
            wrapMode: Text.Wrap
            text: alert.value ? alert.value.message : ""
        }
    }
}
