// SPDX-License-Identifier: GPL-3.0-or-later
// The colours and sizes of the console: near black, so that nothing glares on a dark stage, with few bright fields for
// what must be found at once.
pragma Singleton

import QtQuick

QtObject {
    readonly property color background: "#08090b"
    readonly property color panel: "#121417"
    readonly property color raised: "#24272c"
    readonly property color well: "#0b0c0e"
    readonly property color line: "#383d44"
    readonly property color ink: "#f4f5f7"
    readonly property color quietInk: "#aeb4bd"
    readonly property color faintInk: Qt.rgba(0.706, 0.706, 0.706, 1)
    readonly property color darkInk: "#000000"

    readonly property color accent: Qt.rgba(1, 1 / 3, 0, 1)
    readonly property color teal: Qt.rgba(0, 194 / 255, 194 / 255, 1)
    readonly property color live: Qt.rgba(180 / 255, 40 / 255, 40 / 255, 1)
    readonly property color edit: Qt.rgba(45 / 255, 45 / 255, 45 / 255, 1)
    readonly property color panic: "#e3121f"
    readonly property color warning: "#ffcc1f"
    readonly property color ready: "#35d05a"
    readonly property color muteLit: "#c22f16"
    readonly property color soloLit: "#0b7f8a"
    readonly property color litInk: Qt.rgba(220 / 255, 220 / 255, 220 / 255, 1)
    readonly property color learnable: Qt.rgba(1, 0.5, 0, 1)
    readonly property color learnPending: Qt.rgba(0, 1, 1, 1)

    readonly property color failed: Qt.rgba(0.23, 0.02, 0.03, 1) // the ground of a strip
    readonly property color instrumentPresent: "#14332f"
    readonly property color instrumentFailed: "#7a0f18"
    readonly property color running: Qt.rgba(0.18, 0.8, 0.44, 1)
    readonly property color idle: Qt.rgba(0.6, 0.6, 0.6, 1)
    readonly property color faderTrack: Qt.rgba(28 / 255, 28 / 255, 28 / 255, 1)
    readonly property color faderEdge: Qt.rgba(40 / 255, 40 / 255, 40 / 255, 1)
    readonly property color knobInk: Qt.rgba(175 / 255, 175 / 255, 175 / 255, 1)
    readonly property color readingInk: Qt.rgba(190 / 255, 190 / 255, 190 / 255, 1)
    readonly property color labelInk: Qt.rgba(156 / 255, 156 / 255, 156 / 255, 1)
    readonly property color badge: Qt.rgba(16 / 255, 16 / 255, 16 / 255, 1)
    readonly property color badgeEdge: Qt.rgba(62 / 255, 62 / 255, 62 / 255, 1)
    readonly property color badgeEdited: Qt.rgba(90 / 255, 90 / 255, 90 / 255, 1)
    readonly property color nudge: Qt.rgba(62 / 255, 62 / 255, 62 / 255, 1)
    readonly property color barTrack: Qt.rgba(44 / 255, 44 / 255, 44 / 255, 1)
    readonly property color divider: Qt.rgba(45 / 255, 45 / 255, 45 / 255, 1)

    // Set by the window: what is played needs room for a finger on stage.
    property bool isLive: false
    // Set by the window, too; see Field.
    property bool hasGaps: false
    readonly property int touch: isLive ? 44 : 36
    readonly property int row: isLive ? 44 : 24
    readonly property int handle: 36
    readonly property int dragDistance: 8
    readonly property int gap: 8
    readonly property int radius: 6
    readonly property int song: isLive ? 46 : 40
    readonly property int strip: 132
    readonly property int masterInEdit: 120
    readonly property int masterInLive: 97

    // The smallest is still 11 pixels high where the window is drawn at its smallest scale.
    readonly property int tinyText: 13
    readonly property int smallText: 14
    readonly property int bodyText: 16
    readonly property int strongText: 19
    readonly property int songText: 22
    readonly property int stageText: 30
    readonly property int tempoText: 34

    // Words on a field of this colour: dark on a bright one, light on a dark one.
    function inkOn(field: color): color {
        return field.r * 0.3 + field.g * 0.59 + field.b * 0.11 > 0.45 ? darkInk : ink;
    }

    function faded(sign: color, opacity: real): color {
        return Qt.rgba(sign.r, sign.g, sign.b, opacity);
    }
}
