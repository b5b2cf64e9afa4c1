// SPDX-License-Identifier: GPL-3.0-or-later
// Silences everything. Acts on press, not on release.
import QtQuick
import Vrel.Console

PushButton {
    id: panic

    required property ConsoleModel desk

    function act(): void {
        if (!learn.claims())
            desk.commands.panic();
    }

    objectName: "panicButton"
    implicitWidth: 152
    padding: 10 // the longest word keeps off the edge
    text: desk.texts.panic
    hint: desk.hints.panic
    textSize: 30
    fill: Theme.panic
    ink: Theme.ink
    edge: Theme.ink
    edgeWidth: 3
    onPressed: act()
    Accessible.onPressAction: act()

    LearnTarget {
        id: learn

        desk: panic.desk
        kind: LearnKind.Panic
    }
}
