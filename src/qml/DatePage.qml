// qmllint disable unqualified
// (The calendar's days read the controller around them. Qt 6.4's qmllint calls that unqualified
// unless the file binds its components, and bound components break the calendar grid in 6.4.)
import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Tallymo

// The first day of a period: a month of days, none after today; the arrow keys move the day,
// Page Up and Page Down the month.
ScreenPage {
    id: page
    required property DatePickerController controller
    objectName: "datePage"
    header: PageHeader { title: page.controller.title; onBack: page.close() }

    ColumnLayout {
        anchors.fill: parent
        anchors.topMargin: 20
        anchors.leftMargin: 12
        anchors.rightMargin: 12
        spacing: 8
        focus: true
        Keys.onLeftPressed: page.controller.moveBy(-1)
        Keys.onRightPressed: page.controller.moveBy(1)
        Keys.onUpPressed: page.controller.moveBy(-7)
        Keys.onDownPressed: page.controller.moveBy(7)
        Keys.onPressed: (event) => {
            if (event.key === Qt.Key_PageUp) { page.controller.showPreviousMonth(); event.accepted = true }
            else if (event.key === Qt.Key_PageDown) { page.controller.showNextMonth(); event.accepted = true }
        }
        Accessible.role: Accessible.Table
        Accessible.name: page.controller.title
        Accessible.description: page.controller.day.toLocaleDateString(Qt.locale(), Locale.LongFormat)

        RowLayout {
            Layout.fillWidth: true
            ToolButton {
                objectName: "previousMonth"
                text: "\u2039"
                font.pixelSize: Theme.display
                focusPolicy: Qt.NoFocus
                Accessible.name: qsTr("Previous Month")
                onClicked: page.controller.showPreviousMonth()
            }
            Label {
                objectName: "monthTitle"
                Layout.fillWidth: true
                horizontalAlignment: Text.AlignHCenter
                text: page.controller.shownMonthTitle
                font.pixelSize: Theme.body
                font.weight: Theme.heading
                color: Theme.text
            }
            ToolButton {
                objectName: "nextMonth"
                text: "\u203A"
                font.pixelSize: Theme.display
                focusPolicy: Qt.NoFocus
                enabled: page.controller.canShowNextMonth
                Accessible.name: qsTr("Next Month")
                onClicked: page.controller.showNextMonth()
            }
        }
        DayOfWeekRow {
            Layout.fillWidth: true
            delegate: Label {
                required property string shortName
                text: shortName
                horizontalAlignment: Text.AlignHCenter
                font.pixelSize: Theme.footnote
                color: Theme.secondaryText
            }
        }
        MonthGrid {
            id: grid
            objectName: "monthGrid"
            Layout.fillWidth: true
            month: page.controller.shownMonth
            year: page.controller.shownYear
            delegate: Label {
                id: day
                required property var model
                readonly property bool chosen: page.controller.day, page.controller.isChosenDay(model.date)
                readonly property bool selectable: page.controller.isSelectableDay(model.date)
                text: model.day
                horizontalAlignment: Text.AlignHCenter
                verticalAlignment: Text.AlignVCenter
                height: 40
                font.pixelSize: Theme.body
                font.weight: chosen ? Font.Bold : Font.Normal
                opacity: model.month === grid.month ? 1 : 0.35
                color: chosen ? "white" : selectable ? Theme.text : Theme.unavailableText
                background: Rectangle {
                    visible: day.chosen
                    anchors.centerIn: parent
                    width: 36
                    height: 36
                    radius: 18
                    color: Theme.accent
                }
            }
            onClicked: (date) => page.controller.day = date
        }
        Label {
            Layout.fillWidth: true
            leftPadding: 4
            rightPadding: 4
            wrapMode: Text.Wrap
            text: page.controller.footer
            font.pixelSize: Theme.footnote
            color: Theme.secondaryText
        }
        Item { Layout.fillHeight: true }
    }
}
