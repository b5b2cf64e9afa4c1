// SPDX-License-Identifier: GPL-3.0-or-later
// The windows of the Help menu: one of each, made with the console and shown when it is asked for.
import QtQuick
import QtQuick.Window
import Vrel.Console

Item {
    id: windows

    required property ConsoleModel desk
    required property Window owner
    required property real drawScale

    HelpWindow {
        objectName: "helpWindow"
        owner: windows.owner
        ownerScale: windows.drawScale
        entry: windows.desk.help
        onClosed: windows.desk.commands.closeHelp()
    }
    HelpWindow {
        objectName: "liveKeysWindow"
        owner: windows.owner
        ownerScale: windows.drawScale
        entry: windows.desk.liveKeys
        onClosed: windows.desk.commands.closeLiveKeys()
    }
}
