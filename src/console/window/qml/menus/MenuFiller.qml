// SPDX-License-Identifier: GPL-3.0-or-later
// Makes the lines of one menu from their description, and makes them anew when the description changes.
pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Controls.Basic
import Vrel.Console

Instantiator {
    id: filler

    required property ConsoleModel desk
    required property Menu menu
    property var items: []
    property Component inner: null

    model: items

    delegate: QtObject {
        id: line

        required property var modelData
        property QtObject made: null

        function make(): void {
            if (modelData.separator)
                made = separator.createObject(null);
            else if (modelData.items && modelData.items.length > 0 && filler.inner)
                made = filler.inner.createObject(null, {
                    "title": modelData.title,
                    "items": modelData.items
                });
            else
                made = entry.createObject(null, {
                    "line": modelData
                });
        }
    }

    onObjectAdded: (index, object) => {
        object.make();
        if (object.made instanceof Menu)
            menu.insertMenu(index, object.made);
        else
            menu.insertItem(index, object.made);
    }
    onObjectRemoved: (index, object) => {
        if (object.made instanceof Menu)
            menu.removeMenu(object.made);
        else
            menu.removeItem(object.made);
    }

    property Component separator: Component {
        PopupLine {}
    }

    property Component entry: Component {
        PopupEntry {
            required property var line

            text: line.title
            keys: line.shortcut
            enabled: line.enabled
            checkable: line.checkable
            checked: line.checked
            onTriggered: {
                // The mark is the logic's: what the click did to it is undone.
                checked = Qt.binding(() => line.checked);
                filler.desk.commands.activateMenuItem(line.path);
            }
        }
    }
}
