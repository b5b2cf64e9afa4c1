// SPDX-License-Identifier: GPL-3.0-or-later
// The commands on one song, besides playing it.
import QtQuick
import Vrel.Console

PopupMenu {
    id: menu

    required property ConsoleModel desk
    property string songId

    function openFor(entry: SongViewModel): void {
        songId = entry.songId;
        popup();
    }

    objectName: "songMenu"

    PopupEntry {
        objectName: "songMenuRename"
        text: menu.desk.texts.renameSong
        hint: enabled ? menu.desk.hints.renameSong : menu.desk.hints.notInLiveMode
        enabled: menu.desk.session.mayRenameSong
        onTriggered: menu.desk.commands.beginSongRename(menu.songId)
    }
    PopupEntry {
        objectName: "songMenuDelete"
        text: menu.desk.texts.deleteSong
        hint: menu.desk.hints.deleteSong
        onTriggered: menu.desk.commands.deleteSong(menu.songId)
    }
}
