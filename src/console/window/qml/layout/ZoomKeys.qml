// SPDX-License-Identifier: GPL-3.0-or-later
// The keys that make the console larger and smaller.
import QtQuick
import Vrel.Console

Item {
    id: keys

    required property ConsoleModel desk

    Shortcut {
        sequences: ["Ctrl++", "Ctrl+="]
        onActivated: keys.desk.commands.zoom(1)
    }
    Shortcut {
        sequence: "Ctrl+-"
        onActivated: keys.desk.commands.zoom(-1)
    }
    Shortcut {
        sequence: "Ctrl+0"
        onActivated: keys.desk.commands.zoom(0)
    }
}
