// SPDX-License-Identifier: GPL-3.0-or-later
// Lets an instrument fail as a rehearsal, and brings back one that has failed. The one that can act now has the room for its word.
import QtQuick
import QtQuick.Layouts
import Vrel.Console

RowLayout {
    id: row

    required property ConsoleModel desk
    required property StripViewModel entry

    readonly property string strip: " " + entry.number + " " + entry.name
    readonly property bool showsRevive: entry.canRevive

    spacing: 3

    PushButton {
        objectName: "crash" + row.entry.index
        Layout.fillWidth: !row.showsRevive
        Layout.preferredWidth: 26
        Layout.fillHeight: true
        padding: 1
        text: row.showsRevive ? "\u2715" : row.desk.texts.simulateCrash
        spokenName: row.desk.texts.simulateCrash + row.strip
        hint: row.entry.canCrash ? row.desk.hints.crash : row.desk.hints.crashImpossible
        textSize: Theme.tinyText
        letterSpacing: -0.7
        isOffered: row.entry.canCrash
        onClicked: row.desk.controls.simulateCrash(row.entry.channelId)
    }
    PushButton {
        objectName: "revive" + row.entry.index
        Layout.fillWidth: row.showsRevive
        Layout.preferredWidth: 26
        Layout.fillHeight: true
        padding: 1
        text: row.showsRevive ? row.desk.texts.revive : "\u21bb"
        spokenName: row.desk.texts.revive + row.strip
        hint: row.entry.canRevive ? row.desk.hints.revive : row.desk.hints.reviveImpossible
        textSize: Theme.tinyText
        letterSpacing: -0.7
        isOffered: row.entry.canRevive
        fill: row.showsRevive ? Theme.accent : Theme.raised
        onClicked: row.desk.controls.revive(row.entry.channelId)
    }
}
