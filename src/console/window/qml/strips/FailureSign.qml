// SPDX-License-Identifier: GPL-3.0-or-later
// Names a strip whose instrument has failed, wherever the row of strips is scrolled to; a press scrolls to the strip.
import QtQuick
import Vrel.Console

PushButton {
    id: sign

    required property StripViewModel entry
    required property int index

    objectName: "failure" + index
    visible: entry.status === StripViewModel.Crashed
    text: entry.number + "  " + entry.name
    spokenName: entry.number + " " + entry.name + " " + entry.statusText
    fill: Theme.panic
    ink: Theme.ink
    edge: Theme.panic

    MirrorRef {
        entry: sign.entry
    }
}
