// SPDX-License-Identifier: GPL-3.0-or-later
// The commands on one channel as a whole; all are disabled in Live mode.
import QtQuick
import Vrel.Console

PopupMenu {
    id: menu

    required property ConsoleModel desk
    property string channelId

    readonly property bool isAllowed: !desk.session.isLive

    function openFor(entry: StripViewModel): void {
        channelId = entry.channelId;
        popup();
    }

    objectName: "stripMenu"

    PopupEntry {
        objectName: "stripMenuCut"
        text: menu.desk.texts.cutChannel
        enabled: menu.isAllowed
        onTriggered: menu.desk.commands.cutChannel(menu.channelId)
    }
    PopupEntry {
        objectName: "stripMenuCopy"
        text: menu.desk.texts.copyChannel
        enabled: menu.isAllowed
        onTriggered: menu.desk.commands.copyChannel(menu.channelId)
    }
    PopupEntry {
        objectName: "stripMenuPaste"
        text: menu.desk.texts.pasteChannel
        enabled: menu.isAllowed && menu.desk.session.canPaste
        onTriggered: menu.desk.commands.pasteChannel(menu.channelId)
    }
    PopupEntry {
        objectName: "stripMenuDuplicate"
        text: menu.desk.texts.duplicateChannel
        enabled: menu.isAllowed
        onTriggered: menu.desk.commands.duplicateChannel(menu.channelId)
    }
    PopupEntry {
        objectName: "stripMenuDelete"
        text: menu.desk.texts.deleteChannel
        enabled: menu.isAllowed
        onTriggered: menu.desk.commands.deleteChannel(menu.channelId)
    }
}
