pragma Singleton
import QtQuick

// The colours, text sizes and weights of every screen over the main screen. They follow the
// desktop's palette: light pages on a light desktop, dark pages on a dark one. The main screen,
// the watch and the widget draw in the plan's own colour scheme instead, and the map in the
// colours of its tiles. Text keeps 4.5:1 or more against every background here, light and dark,
// a pressed or keyboard-current row included (the text of what cannot be used now aside).
QtObject {
    readonly property SystemPalette desktop: SystemPalette { colorGroup: SystemPalette.Active }
    readonly property bool dark: desktop.window.hslLightness < 0.5

    // Grouped tables: the page behind the groups, a row, a pressed or keyboard-current row.
    readonly property color pageBackground: dark ? "#1c1c1e" : "#f2f2f7"
    readonly property color rowBackground: dark ? "#2c2c2e" : "white"
    readonly property color rowPressed: dark ? "#3a3a3c" : "#e5e5ea"
    readonly property color separator: dark ? "#38383a" : "#d1d1d6"
    // Pages that are one list or one picture (history, the label field).
    readonly property color contentBackground: dark ? "#1c1c1e" : "white"
    readonly property color dialogBackground: dark ? "#2c2c2e" : "#f9f9f9"
    readonly property color dim: "#66000000"

    readonly property color text: dark ? "#f2f2f7" : "#111111"
    readonly property color secondaryText: dark ? "#a5a5aa" : "#65656a"
    readonly property color disabledText: "#8e8e93"
    readonly property color unavailableText: dark ? "#5a5a5e" : "#b0b0b5"
    readonly property color strongSecondaryText: dark ? "#d1d1d6" : "#333333"
    readonly property color accent: dark ? "#63a8ff" : "#0a60d0"
    readonly property color accentPressed: Qt.rgba(accent.r, accent.g, accent.b, 0.5)
    readonly property color destructive: dark ? "#ff7f77" : "#ce0014"
    readonly property color error: dark ? "#ff8078" : "#c0001a"
    readonly property color switchOn: dark ? "#30d158" : "#248a3d"
    readonly property color switchKnobBorder: dark ? "#48484a" : "#c7c7cc"
    // A line of news over a page, on any background.
    readonly property color bannerBackground: "#e6303036"
    readonly property color bannerText: "white"

    // The history's bars and legends: cellular and Wi-Fi.
    readonly property color cellular: "#ff9500"
    readonly property color wifi: "#0a84ff"

    // The map: land where no tile is shown, the place pins, the labels over the tiles.
    readonly property color mapLand: "#eef0e8"
    readonly property color mapPin: "#e0241b"
    readonly property color mapPinStem: "#8a1510"
    readonly property color mapLabel: "#333333"
    readonly property color mapLabelBackground: "#b3ffffff"
    readonly property color mapNoteBackground: "#e6ffffff"

    // Text sizes, in pixels.
    readonly property int smallPrint: 10
    readonly property int caption: 11
    readonly property int footnote: 13
    readonly property int subhead: 15
    readonly property int body: 17
    readonly property int title: 20
    readonly property int largeTitle: 22
    readonly property int display: 24
    readonly property int symbol: 26
    readonly property int heading: Font.DemiBold

    readonly property int rowHeight: 48
}
