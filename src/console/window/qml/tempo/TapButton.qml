// SPDX-License-Identifier: GPL-3.0-or-later
// Counts on press: how long a finger stays is not part of a tempo.
import QtQuick
import Vrel.Console

PushButton {
    id: tap

    required property ConsoleModel desk

    function act(): void {
        if (!learn.claims())
            desk.commands.tapTempo();
    }

    objectName: "tapButton"
    text: "TAP"
    hint: desk.hints.tap
    textSize: Theme.songText
    fill: Theme.raised
    ink: Theme.accent
    edge: Theme.accent
    edgeWidth: 2
    onPressed: act()
    Accessible.onPressAction: act()

    LearnTarget {
        id: learn

        desk: tap.desk
        kind: LearnKind.TapTempo
    }
}
