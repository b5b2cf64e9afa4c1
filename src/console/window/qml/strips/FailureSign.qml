// SPDX-License-Identifier: GPL-3.0-or-later
// Names a strip whose instrument or effect has failed, wherever the row of strips is scrolled to; a press scrolls to the strip.
import QtQuick
import Vrel.Console

PushButton {
    id: sign

    required property ConsoleModel desk
    required property StripViewModel entry
    required property int index

    readonly property bool isCrashed: entry.status === StripViewModel.Crashed
    readonly property bool hasFailed: isCrashed || entry.status === StripViewModel.LoadFailed
    readonly property string strip: entry.number + "  " + entry.name

    objectName: "failure" + index
    visible: hasFailed || entry.hasFailedEffect
    implicitWidth: 150
    padding: 2
    textSize: Theme.smallText
    text: strip + "\n" + (hasFailed ? entry.instrumentText : "FX")
    spokenName: strip + " " + (hasFailed ? entry.statusText + " " + entry.instrumentText : desk.hints.rackHasFailure)
    hint: desk.hints.goToFailure
    fill: isCrashed ? Theme.panic : Theme.instrumentFailed
    ink: Theme.ink
    edge: Theme.panic

    MirrorRef {
        entry: sign.entry
    }
}
