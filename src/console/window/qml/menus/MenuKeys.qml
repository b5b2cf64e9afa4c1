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
    model: desk.menuBar.menus ? desk.menuBar.menus.length : 0

    delegate: Instantiator {
        id: column

        required property int index

        readonly property var menu: keys.desk.menuBar.menus[index]
        readonly property var items: menu ? menu.items : []

        model: items.length

        delegate: Shortcut {
            required property int index

            readonly property var line: column.items[index]

            sequence: line && line.shortcut ? line.shortcut : ""
            enabled: keys.isAllowed && sequence !== "" && line !== undefined && line.enabled === true
            onActivated: keys.desk.commands.activateMenuItem(line.path)
        }
    }
}
