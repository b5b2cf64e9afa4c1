// SPDX-License-Identifier: GPL-3.0-or-later
// What can be done with one song besides playing it.
import QtQuick
import Vrel.Console

PopupMenu {
    id: menu

    required property ConsoleModel desk
    property string songId

    function openFor(entry: MirrorItem): void {
        songId = entry.songId;
        popup();
    }

    objectName: "songMenu"

    PopupEntry {
        objectName: "songMenuRename"
        text: menu.desk.texts.renameSong
        enabled: menu.desk.session.mayRenameSong
        onTriggered: menu.desk.commands.beginSongRename(menu.songId)
    }
    PopupEntry {
        objectName: "songMenuDelete"
        text: menu.desk.texts.deleteSong
        onTriggered: menu.desk.commands.deleteSong(menu.songId)
    }
}
