// qmllint disable unqualified
// (Delegates here read the ids around them. Qt 6.4's qmllint calls that unqualified unless the file
// binds its components, and bound components break this file's list headers and sections in 6.4.)
import QtQuick
import Tallymo

// The main screen's picture, saved in the picture folder, and what can be done with it.
ScreenPage {
    id: page
    required property ShareController controller
    objectName: "sharePage"
    header: PageHeader { title: page.controller.title; onBack: page.close() }

    Connections {
        target: page.controller
        function onMessage(text) { page.say(text) }
    }

    SettingsList {
        id: list
        anchors.fill: parent
        model: page.controller.rows
        section.property: "" // one group, under the picture
        onRowTapped: (index) => page.controller.tapRow(index)
        header: Item {
            width: list.width
            height: preview.visible ? Math.min(list.height * 0.55, 420) + 32 : 28
            Image {
                id: preview
                objectName: "preview"
                anchors.centerIn: parent
                height: parent.height - 32
                width: parent.width - 32
                visible: page.controller.imageUrl != ""
                source: page.controller.imageUrl
                fillMode: Image.PreserveAspectFit
                asynchronous: true
                Accessible.role: Accessible.Graphic
                Accessible.name: qsTr("Screenshot")
            }
        }
    }
}
