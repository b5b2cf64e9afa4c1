// SPDX-License-Identifier: GPL-3.0-or-later
// The commands on one channel as a whole; all are disabled in Live mode.
import QtQuick
import Vrel.Console

PopupMenu {
    id: menu

    required property ConsoleModel desk
    property string channelId
    property int row

    function openFor(entry: StripViewModel): void {
        channelId = entry.channelId;
        row = entry.index;
        popup();
    }

    objectName: "stripMenu"
    // The strip it was opened for may be gone.
    Connections {
        target: menu.desk.strips
        function onCountChanged(): void {
            menu.close();
        }
    }
    Connections {
        target: menu.desk.session
        function onSelectedSongIndexChanged(): void {
            menu.close();
        }
    }

    PopupEntry {
        objectName: "stripMenuCut"
        symbol: "cut"
        text: menu.desk.texts.cutChannel
        hint: enabled ? menu.desk.hints.cutChannel : menu.desk.hints.notInLiveMode
        enabled: menu.desk.session.mayCutChannel
        onTriggered: menu.desk.commands.cutChannel(menu.channelId)
    }
    PopupEntry {
        objectName: "stripMenuCopy"
        symbol: "copy"
        text: menu.desk.texts.copyChannel
        hint: enabled ? menu.desk.hints.copyChannel : menu.desk.hints.notInLiveMode
        enabled: menu.desk.session.mayCopyChannel
        onTriggered: menu.desk.commands.copyChannel(menu.channelId)
    }
    PopupEntry {
        objectName: "stripMenuPaste"
        symbol: "paste"
        text: menu.desk.texts.pasteChannel
        hint: enabled ? menu.desk.hints.pasteChannel : menu.desk.session.mayPasteChannel ? menu.desk.hints.nothingToPaste : menu.desk.hints.notInLiveMode
        enabled: menu.desk.session.mayPasteChannel && menu.desk.session.canPaste
        onTriggered: menu.desk.commands.pasteChannel(menu.channelId)
    }
    PopupEntry {
        objectName: "stripMenuDuplicate"
        symbol: "duplicate"
        text: menu.desk.texts.duplicateChannel
        hint: enabled ? menu.desk.hints.duplicateChannel : menu.desk.hints.notInLiveMode
        enabled: menu.desk.session.mayDuplicateChannel
        onTriggered: menu.desk.commands.duplicateChannel(menu.channelId)
    }
    PopupEntry {
        objectName: "stripMenuLeft"
        symbol: "\u2190"
        text: menu.desk.texts.moveChannelLeft
        keys: "Alt+\u2190"
        hint: enabled ? menu.desk.hints.moveChannelLeft : menu.row === 0 ? menu.desk.hints.alreadyFirst : menu.desk.hints.notInLiveMode
        enabled: menu.desk.session.mayMoveChannels && menu.row > 0
        onTriggered: menu.desk.commands.moveChannel(menu.channelId, -1)
    }
    PopupEntry {
        objectName: "stripMenuRight"
        symbol: "\u2192"
        text: menu.desk.texts.moveChannelRight
        keys: "Alt+\u2192"
        hint: enabled ? menu.desk.hints.moveChannelRight : menu.row === menu.desk.strips.count - 1 ? menu.desk.hints.alreadyLast : menu.desk.hints.notInLiveMode
        enabled: menu.desk.session.mayMoveChannels && menu.row < menu.desk.strips.count - 1
        onTriggered: menu.desk.commands.moveChannel(menu.channelId, 1)
    }
    PopupEntry {
        objectName: "stripMenuDelete"
        symbol: "trash"
        text: menu.desk.texts.deleteChannel
        hint: enabled ? menu.desk.hints.deleteChannel : menu.desk.hints.notInLiveMode
        enabled: menu.desk.session.mayDeleteChannel
        onTriggered: menu.desk.commands.deleteChannel(menu.channelId)
    }
}
