import QtQuick
import QtQuick.Layouts
import Tallymo

// The days of a period, or the billing periods: a history list over the screen below. Choosing a
// row shows it below and closes this one; the back control of the period view opens the periods.
ScreenPage {
    id: page
    required property TimeChartViewController controller
    objectName: controller.hasPeriods ? "periodPage" : "periodsPage"
    background: Rectangle { color: Theme.contentBackground }
    header: PageHeader {
        title: page.controller.title
        backText: page.controller.hasPeriods ? qsTr("Bill Cycles") : qsTr("Back")
        onBack: page.controller.hasPeriods
                ? page.navigator.show(Navigator.Periods, page.controller.periodsController())
                : page.close()
    }

    Connections {
        target: page.controller
        function onChosen() { page.close() }
        function onShowTip(title, text) { tip.ask({ title: title, message: text, actions: [{ title: qsTr("OK"), style: 0 }] }) }
    }
    QuestionDialog { id: tip; objectName: "tip" }

    ColumnLayout {
        anchors.fill: parent
        spacing: 6
        StyledLine {
            objectName: "usageLine"
            Layout.alignment: Qt.AlignHCenter
            Layout.topMargin: 8
            visible: page.controller.usageLine.length > 0
            runs: page.controller.usageLine
        }
        ChartList {
            Layout.fillWidth: true
            Layout.fillHeight: true
            controller: page.controller
            focus: true
            onCloseRequested: page.navigator.closeAll()
        }
    }
}
