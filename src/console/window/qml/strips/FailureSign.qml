// SPDX-License-Identifier: GPL-3.0-or-later
// Names a strip whose instrument has failed, wherever the row of strips is scrolled to; a press brings the strip into sight.
import QtQuick
import Vrel.Console

PushButton {
    id: sign

    required property MirrorItem entry
    required property int index

    readonly property color statusColor: entry.statusColor

    objectName: "failure" + index
    visible: Theme.isAlarm(statusColor)
    text: entry.number + "  " + entry.name
    spokenName: entry.number + " " + entry.name + " " + entry.statusText
    fill: Theme.panic
    ink: Theme.ink
    edge: Theme.panic

    MirrorRef {
        entry: sign.entry
    }
}
