// SPDX-License-Identifier: GPL-3.0-or-later
// What the strip plays, and the effects behind it.
import QtQuick
import QtQuick.Layouts
import Vrel.Console

ColumnLayout {
    id: source

    required property ConsoleModel desk
    required property StripViewModel entry

    spacing: Theme.isLive ? 4 : 2

    Text {
        objectName: "stripInstrument" + source.entry.index
        Layout.fillWidth: true
        Layout.preferredHeight: 42
        text: source.entry.isPlaying ? "\u25b6 " + source.entry.instrumentText : source.entry.instrumentText
        color: source.entry.isPlaying ? Theme.ready : Theme.quietInk
        font.pixelSize: Theme.tinyText
        font.letterSpacing: -0.5
        lineHeight: 0.8
        wrapMode: Text.WordWrap
        elide: Text.ElideRight
        verticalAlignment: Text.AlignVCenter
        Accessible.role: Accessible.StaticText
        Accessible.name: source.entry.instrumentText
    }

    CrashButtons {
        Layout.fillWidth: true
        Layout.preferredHeight: Theme.isLive ? 36 : 28
        desk: source.desk
        entry: source.entry
    }
}
