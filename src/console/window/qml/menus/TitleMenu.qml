// SPDX-License-Identifier: GPL-3.0-or-later
// One menu of the bar.
pragma ComponentBehavior: Bound

import QtQuick
import Vrel.Console

PopupMenu {
    id: menu

    required property ConsoleModel desk
    required property int place
    required property list<menuEntry> items

    MenuFiller {
        desk: menu.desk
        menu: menu
        items: menu.items
        inner: Component {
            SubMenu {
                desk: menu.desk
            }
        }
    }
}
