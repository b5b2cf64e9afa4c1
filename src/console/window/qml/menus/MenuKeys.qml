// SPDX-License-Identifier: GPL-3.0-or-later
// The keys of the menu commands, which work while the menus are closed. Lines of menus within menus have none.
pragma ComponentBehavior: Bound

import QtQuick
import Vrel.Console

Instantiator {
    id: keys

    required property ConsoleModel desk
    required property bool isAllowed

    // As many as there are: a key that is pressed while the menus change finds its line.
    model: desk.menuBar.menus.length

    delegate: Instantiator {
        id: column

        required property int index

        readonly property list<menuEntry> menus: keys.desk.menuBar.menus
        readonly property list<menuEntry> items: index < menus.length ? menus[index].items : []

        model: items.length

        delegate: Shortcut {
            required property int index

            readonly property bool isThere: index < column.items.length

            sequence: isThere ? column.items[index].shortcut : ""
            enabled: keys.isAllowed && isThere && column.items[index].shortcut !== "" && column.items[index].isEnabled
            onActivated: keys.desk.commands.activateMenuItem(column.items[index].action, column.items[index].object)
        }
    }
}
