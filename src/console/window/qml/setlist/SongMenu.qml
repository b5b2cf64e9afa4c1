// SPDX-License-Identifier: GPL-3.0-or-later
// The commands on one song, besides playing it.
import QtQuick
import Vrel.Console

PopupMenu {
    id: menu

    required property ConsoleModel desk
    property string songId
    property int row

    function openFor(entry: SongViewModel, place: int): void {
        songId = entry.songId;
        row = place;
        popup();
    }

    objectName: "songMenu"

    PopupEntry {
        objectName: "songMenuRename"
        symbol: "\u270e"
        text: menu.desk.texts.renameSong
        hint: enabled ? menu.desk.hints.renameSong : menu.desk.hints.notInLiveMode
        enabled: menu.desk.session.mayRenameSong
        onTriggered: menu.desk.commands.beginSongRename(menu.songId)
    }
    PopupEntry {
        objectName: "songMenuUp"
        symbol: "\u2191"
        text: menu.desk.texts.moveSongUp
        keys: "Alt+\u2191"
        hint: enabled ? menu.desk.hints.moveSongUp : menu.desk.hints.alreadyFirst
        enabled: menu.row > 0
        onTriggered: menu.desk.commands.moveSong(menu.songId, -1)
    }
    PopupEntry {
        objectName: "songMenuDown"
        symbol: "\u2193"
        text: menu.desk.texts.moveSongDown
        keys: "Alt+\u2193"
        hint: enabled ? menu.desk.hints.moveSongDown : menu.desk.hints.alreadyLast
        enabled: menu.row < menu.desk.songs.count - 1
        onTriggered: menu.desk.commands.moveSong(menu.songId, 1)
    }
    PopupEntry {
        objectName: "songMenuDelete"
        symbol: "trash"
        text: menu.desk.texts.deleteSong
        hint: menu.desk.hints.deleteSong
        onTriggered: menu.desk.commands.deleteSong(menu.songId)
    }
}
