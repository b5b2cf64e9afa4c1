// SPDX-License-Identifier: GPL-3.0-or-later
// The keys of the menu commands, which work while the menus are closed. Lines of menus within menus have none.
pragma ComponentBehavior: Bound

import QtQuick
import Vrel.Console

Instantiator {
    id: keys

    required property ConsoleModel desk
    required property bool isAllowed

    model: desk.menuBar.menus

    delegate: Instantiator {
        id: column

        required property var modelData

        model: modelData.items

        delegate: Shortcut {
            required property var modelData

            sequence: modelData.shortcut ? modelData.shortcut : ""
            enabled: keys.isAllowed && modelData.shortcut !== "" && modelData.enabled === true
            onActivated: keys.desk.commands.activateMenuItem(modelData.path)
        }
    }
}
