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

    InstrumentButton {
        Layout.fillWidth: true
        Layout.preferredHeight: 42
        Layout.minimumHeight: 42
        desk: source.desk
        entry: source.entry
    }

    CrashButtons {
        Layout.fillWidth: true
        Layout.fillHeight: false
        Layout.preferredHeight: 38
        Layout.minimumHeight: 38
        desk: source.desk
        entry: source.entry
    }

    RackButton {
        objectName: "rack" + source.entry.index
        Layout.fillWidth: true
        Layout.preferredHeight: Theme.isLive ? 36 : 24
        Layout.minimumHeight: Theme.isLive ? 36 : 24
        desk: source.desk
        channelId: source.entry.channelId
        effectCount: source.entry.effectCount
        hasFailure: source.entry.hasFailedEffect
        title: "FX"
        owner: source.entry.number + " " + source.entry.name
    }
}
