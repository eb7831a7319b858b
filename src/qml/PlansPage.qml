pragma ComponentBehavior: Bound
import QtQuick
import QtQuick.Controls
import Tallymo

// The plan list: the active plan checked; choosing another switches to it.
ScreenPage {
    id: page
    required property SelectPlanController controller
    objectName: "plansPage"
    header: PageHeader {
        trailingWidth: trailing.visible ? trailing.width : 0
        title: page.controller.title
        onBack: page.close()
        HeaderButton {
            id: trailing
            objectName: "addPlanButton"
            anchors.right: parent.right
            anchors.verticalCenter: parent.verticalCenter
            text: "+"
            font.pixelSize: Theme.symbol
            Accessible.name: qsTr("Add Plan")
            onClicked: page.navigator.open(Navigator.Plan, "")
        }
    }
    StackView.onActivating: page.controller.reload()

    Connections {
        target: page.controller
        function onGoBack() { page.close() }
        function onSwitched() { page.close() }
    }

    ListView {
        id: list
        anchors.fill: parent
        anchors.topMargin: 20
        model: page.controller.plans
        focus: true
        keyNavigationEnabled: true
        // Enter switches to the plan, Space (or the info button) opens its details.
        Keys.onReturnPressed: page.controller.tapRow(currentIndex)
        Keys.onEnterPressed: page.controller.tapRow(currentIndex)
        delegate: ItemDelegate {
            id: row
            required property int index
            required property var model
            readonly property string label: model.label
            readonly property string planID: model.planID
            readonly property bool isChecked: model.checked
            objectName: "planRow" + index
            width: list.width
            height: 48
            leftPadding: 16
            rightPadding: 8
            focusPolicy: Qt.NoFocus
            // The list gives its current row the keyboard; Space on it opens the details rather
            // than click the row (which switches).
            Keys.onSpacePressed: page.navigator.open(Navigator.Plan, row.planID)
            highlighted: ListView.isCurrentItem && list.activeFocus && InputMode.keyboard
            background: Rectangle { color: row.down || row.highlighted ? Theme.rowPressed : Theme.rowBackground }
            Accessible.role: Accessible.CheckBox
            Accessible.checkable: true
            Accessible.checked: isChecked
            Accessible.name: label
            // qmllint disable deferred-property-id
            contentItem: Item {
                Label {
                    anchors.verticalCenter: parent.verticalCenter
                    width: parent.width - 88
                    text: row.label
                    font.pixelSize: Theme.body
                    color: Theme.text
                    elide: Text.ElideRight
                }
                Label {
                    anchors.right: info.left
                    anchors.rightMargin: 12
                    anchors.verticalCenter: parent.verticalCenter
                    visible: row.isChecked
                    text: "\u2713"
                    font.pixelSize: Theme.title
                    font.weight: Font.Bold
                    color: Theme.accent
                }
                ToolButton {
                    id: info
                    objectName: "planDetails"
                    anchors.right: parent.right
                    anchors.verticalCenter: parent.verticalCenter
                    text: "\u24D8"
                    font.pixelSize: Theme.largeTitle
                    focusPolicy: Qt.TabFocus // Tab reaches each plan's details; Space opens them
                    palette.buttonText: Theme.accent
                    Accessible.name: qsTr("Plan Details") + ", " + row.label
                    onClicked: page.navigator.open(Navigator.Plan, row.planID)
                }
            }
            // qmllint enable deferred-property-id
            onClicked: page.controller.tapRow(index)
        }
    }
}
