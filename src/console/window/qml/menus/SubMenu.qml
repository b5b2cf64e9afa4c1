// SPDX-License-Identifier: GPL-3.0-or-later
// A menu within a menu. There is no third level.
import QtQuick
import Vrel.Console

PopupMenu {
    id: menu

    required property ConsoleModel desk
    required property list<menuEntry> items

    MenuFiller {
        desk: menu.desk
        menu: menu
        items: menu.items
    }
}
