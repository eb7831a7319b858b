import QtQuick
import QtQuick.Controls
import Tallymo

// A grouped list of rows, each opening another screen (the theme menu, the widget options).
ScreenPage {
    id: page
    required property MenuController controller
    objectName: "menuPage"
    header: PageHeader { title: page.controller.title; onBack: page.close() }

    StackView.onActivating: page.controller.viewWillAppear()

    Connections {
        target: page.controller
        function onOpen(screen) {
            const controller = page.screens.create(screen)
            if (controller)
                page.StackView.view.push(page.screens.pageFor(screen), { screens: page.screens, controller: controller })
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
            id: row
            required property int index
            required property var model
            readonly property string title: model.title
            readonly property string detail: model.detail
            width: list.width
            height: 48
            text: title
            enabled: model.enabled
            font.pixelSize: 17
            highlighted: ListView.isCurrentItem && list.activeFocus
            background: Rectangle { color: row.down || row.highlighted ? "#e5e5ea" : "white" }
            contentItem: Item {
                Label {
                    anchors.verticalCenter: parent.verticalCenter
                    width: parent.width - detailLabel.width - 32
                    elide: Text.ElideRight
                    text: row.title
                    font.pixelSize: 17
                    color: row.enabled ? "#111111" : "#8e8e93"
                }
                Label {
                    id: detailLabel
                    anchors.right: chevron.left
                    anchors.rightMargin: 8
                    anchors.verticalCenter: parent.verticalCenter
                    width: Math.min(implicitWidth, parent.width * 0.5)
                    elide: Text.ElideLeft
                    text: row.detail
                    font.pixelSize: 17
                    color: "#8e8e93"
                }
                Label {
                    id: chevron
                    anchors.right: parent.right
                    anchors.verticalCenter: parent.verticalCenter
                    text: "\u203A"
                    font.pixelSize: 22
                    color: "#c7c7cc"
                }
            }
            Accessible.name: detail === "" ? title : title + ", " + detail
            onClicked: page.controller.tapRow(index)
            Keys.onReturnPressed: page.controller.tapRow(index)
        }
    }
}
