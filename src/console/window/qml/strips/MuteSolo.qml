// SPDX-License-Identifier: GPL-3.0-or-later
// Whether a strip is heard.
import QtQuick
import QtQuick.Layouts
import Vrel.Console

RowLayout {
    id: row

    required property ConsoleModel desk
    required property StripViewModel entry

    readonly property string strip: " " + entry.number + " " + entry.name

    spacing: 4

    LampButton {
        objectName: "mute" + row.entry.index
        Layout.fillWidth: true
        Layout.preferredWidth: 50
        desk: row.desk
        text: row.desk.texts.mute
        spokenName: text + row.strip
        hint: row.desk.hints.mute
        isOn: row.entry.mute
        lamp: Theme.muteLit
        learnKind: LearnKind.ChannelMute
        learnIndex: row.entry.index
        onActed: row.desk.commands.toggleMute(row.entry.channelId)
    }
    LampButton {
        objectName: "solo" + row.entry.index
        Layout.fillWidth: true
        Layout.preferredWidth: 50
        desk: row.desk
        text: row.desk.texts.solo
        spokenName: text + row.strip
        hint: row.desk.hints.solo
        isOn: row.entry.solo
        lamp: Theme.soloLit
        learnKind: LearnKind.ChannelSolo
        learnIndex: row.entry.index
        onActed: row.desk.commands.toggleSolo(row.entry.channelId)
    }
}
