import QtQuick
import QtQuick.Controls
import Tallymo

// A grouped list of rows, each opening another screen (the theme menu, the widget options).
Page {
    id: page
    required property Screens screens
    required property MenuController controller
    // Back: to the screen below, or to the main screen from the first one.
    function close() {
        const view = StackView.view
        if (view.depth > 1)
            view.pop()
        else
            view.clear()
    }
    objectName: "menuPage"
    background: Rectangle { color: "#f2f2f7" }
    header: PageHeader { title: page.controller.title; onBack: page.close() }

    StackView.onActivating: page.controller.viewWillAppear()

    Connections {
        target: page.controller
        function onOpen(screen) {
            const controller = page.screens.create(screen)
            if (!controller)
                return
            const file = screen === "WidgetOptionController" ? "MenuPage.qml" : "PickerPage.qml"
            page.StackView.view.push(file, { screens: page.screens, controller: controller })
        }
    }

    ListView {
        id: list
        anchors.fill: parent
        model: page.controller.rows
        focus: true
        keyNavigationEnabled: true
        section.property: "section"
        section.delegate: Item { width: list.width; height: 28 }
        delegate: ItemDelegate {
            required property int index
            required property string title
            width: list.width
            height: 48
            text: title
            font.pixelSize: 17
            highlighted: ListView.isCurrentItem && list.activeFocus
            background: Rectangle { color: parent.down || parent.highlighted ? "#e5e5ea" : "white" }
            contentItem: Row {
                spacing: 8
                Label { text: title; font.pixelSize: 17; color: "#111111"; anchors.verticalCenter: parent.verticalCenter; width: list.width - 56 }
                Label { text: "\u203A"; font.pixelSize: 22; color: "#8e8e93"; anchors.verticalCenter: parent.verticalCenter }
            }
            Accessible.name: title
            onClicked: page.controller.tapRow(index)
            Keys.onReturnPressed: page.controller.tapRow(index)
        }
    }
}
