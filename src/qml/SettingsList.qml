// qmllint disable unqualified
// (Rows call the list around them. Qt 6.4's qmllint calls that unqualified unless the file binds
// its components, and bound components break list sections in 6.4.)
import QtQuick
import Tallymo

// The grouped list of a settings screen: TableRow rows in sections with a gap between them;
// Return, Enter or Space acts on the current row as a click does.
ListView {
    id: list
    // A row was clicked (its model: the roles of the screen's list) or its switch flipped.
    signal rowTapped(int index, var row)
    signal rowSwitched(int index, bool on)
    objectName: "rows"
    focus: true
    keyNavigationEnabled: true
    section.property: "section"
    section.delegate: Item { height: 28 } // the gap between sections
    Keys.onReturnPressed: if (currentItem) (currentItem as TableRow).activate()
    Keys.onEnterPressed: if (currentItem) (currentItem as TableRow).activate()
    Keys.onSpacePressed: if (currentItem) (currentItem as TableRow).activate()
    delegate: TableRow {
        onTapped: list.rowTapped(index, model)
        onSwitched: (on) => list.rowSwitched(index, on)
    }
}
