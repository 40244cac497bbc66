pragma Singleton
import QtQuick

// Colours and type sizes of the whole interface. Colours follow the system
// palette, so a dark palette gives a dark interface.
QtObject {
    id: theme

    readonly property SystemPalette palette: SystemPalette { colorGroup: SystemPalette.Active }
    readonly property bool dark: palette.window.hslLightness < 0.5

    readonly property color window: palette.window
    readonly property color controlBackground: dark ? Qt.rgba(1, 1, 1, 0.10) : Qt.rgba(0, 0, 0, 0.055)
    readonly property color barBackground: dark ? Qt.lighter(palette.window, 1.18) : Qt.darker(palette.window, 1.03)
    readonly property color sidebarBackground: dark ? Qt.darker(palette.window, 1.15) : Qt.darker(palette.window, 1.05)
    readonly property color primaryText: palette.windowText
    // Text colours keep at least 4.5:1 against every background they sit on
    // (test_theme_contrast computes it).
    readonly property color secondaryText: dark ? Qt.rgba(1, 1, 1, 0.6) : Qt.rgba(0, 0, 0, 0.6)
    readonly property color separator: dark ? Qt.rgba(1, 1, 1, 0.14) : Qt.rgba(0, 0, 0, 0.12)
    // Icons, outlines and text in the accent colour.
    readonly property color accent: dark ? "#0a84ff" : "#0058c4"
    // Fills that carry white text: prominent buttons, badges, outgoing bubbles.
    readonly property color accentFill: dark ? "#0058d0" : "#0058c4"
    // Under an outgoing bubble's fading gradient, so its text keeps its
    // contrast whatever lies behind the list.
    readonly property color bubbleBase: dark ? "#003a8c" : "#003a80"
    readonly property color selection: Qt.rgba(accent.r, accent.g, accent.b, dark ? 0.35 : 0.18)
    // The ring around the control that has keyboard focus.
    readonly property color focusRing: dark ? "#4da3ff" : "#0058c4"
    readonly property color green: dark ? "#30d158" : "#1b7431"
    readonly property color orange: dark ? "#ff9f0a" : "#9a4f00"
    // Symbols only (a favourite's star): too light for text on a light window.
    readonly property color yellow: dark ? "#ffd60a" : "#a07800"
    readonly property color red: dark ? "#ff857e" : "#b3261e"
    readonly property color blue: dark ? "#64d2ff" : "#0058b8"
    // Under white text: the conflict banner.
    readonly property color redFill: dark ? "#c4302b" : "#c62a1f"
    // Under white text that should not call for attention: the unread count
    // of a quiet conversation.
    readonly property color quietFill: dark ? "#5c5c61" : "#6b6b70"
    // An incoming bubble as drawn over the window.
    readonly property color incomingBubble: Qt.tint(window, controlBackground)
    // An @mention in an incoming bubble.
    readonly property color mention: dark ? "#ff9f0a" : "#9a4f00"

    // Type sizes in pixels, after the desktop's usual text styles.
    readonly property int title2Size: 20
    readonly property int title3Size: 17
    readonly property int headlineSize: 14
    readonly property int bodySize: 14
    readonly property int calloutSize: 13
    readonly property int subheadlineSize: 12
    readonly property int captionSize: 11
    readonly property int caption2Size: 10

    // The colour of a tint named by the view logic ("green", "secondary", ...).
    function tint(name) {
        switch (name) {
        case "secondary": return secondaryText
        case "accent": return accent
        case "green": return green
        case "orange": return orange
        case "yellow": return yellow
        case "red": return red
        case "white": return "white"
        }
        return primaryText
    }
}
