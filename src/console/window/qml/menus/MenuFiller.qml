// SPDX-License-Identifier: GPL-3.0-or-later
// Makes the lines of one menu, and makes them again when they change.
pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Controls.Basic
import Vrel.Console

Instantiator {
    id: filler

    required property ConsoleModel desk
    required property Menu menu
    property list<menuEntry> items
    property Component inner: null

    model: items

    delegate: QtObject {
        id: line

        required property menuEntry modelData
        property QtObject made: null

        function make(): void {
            if (modelData.isSeparator)
                made = filler.separator.createObject(null);
            else if (modelData.items.length > 0 && filler.inner)
                made = filler.inner.createObject(null, {
                    "title": modelData.title,
                    "items": modelData.items
                });
            else
                made = filler.entry.createObject(null, {
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
            required property menuEntry line

            text: line.title
            keys: line.shortcut
            hint: line.hint
            enabled: line.isEnabled
            checkable: line.isChecked
            checked: line.isChecked
            onTriggered: {
                // The check mark is the logic's: what the click did to it is undone.
                checked = Qt.binding(() => line.isChecked);
                filler.desk.commands.activateMenuItem(line.action, line.object);
            }
        }
    }
}
