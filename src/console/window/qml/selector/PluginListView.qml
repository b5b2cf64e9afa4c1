// SPDX-License-Identifier: GPL-3.0-or-later
// Plug-ins to choose from, under headings. Arrows and pages move through it, Return or a press loads.
pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Controls.Basic
import Vrel.Console

ListView {
    id: list

    required property ConsoleModel desk
    property alias pluginRows: rows.rows
    property string loadedKey
    property pluginRow currentRow
    property bool keepsCurrent // while the list changes around it, but not with the search
    required property string spokenName
    property string rowName: "plugin"
    property string rowHint: desk.texts.loadHint
    property string triedKey
    property bool canTry
    property bool isOffered: true

    signal picked(string key)
    signal tried(string key)

    function takeKey(event: KeyEvent): void {
        const page = Math.max(1, Math.floor(height / Theme.touch) - 1);
        const steps = {
            [Qt.Key_Up]: -1,
            [Qt.Key_Down]: 1,
            [Qt.Key_PageUp]: -page,
            [Qt.Key_PageDown]: page
        };
        if (event.key in steps) {
            currentIndex = Math.max(0, Math.min(count - 1, currentIndex + steps[event.key]));
            if (currentIndex === 0)
                positionViewAtBeginning();
            event.accepted = true;
        } else if (event.key === Qt.Key_Return || event.key === Qt.Key_Enter) {
            if (event.modifiers & Qt.ControlModifier)
                tryCurrent();
            else
                pickCurrent();
            event.accepted = true;
        } else if (event.key === Qt.Key_F && event.modifiers & Qt.ControlModifier) {
            desk.commands.toggleFavourite(given.keyAt(currentIndex));
            event.accepted = true;
        }
    }

    function pickCurrent(): void {
        if (isOffered && currentIndex >= 0)
            picked(given.keyAt(currentIndex));
    }

    function tryCurrent(): void {
        if (canTry && currentIndex >= 0)
            tried(given.keyAt(currentIndex));
    }

    clip: true
    spacing: 8
    boundsBehavior: Flickable.StopAtBounds
    keyNavigationEnabled: false
    highlightMoveDuration: 0
    activeFocusOnTab: true
    reuseItems: true
    Keys.onPressed: event => takeKey(event)
    onActiveFocusChanged: if (activeFocus && currentIndex < 0) currentIndex = 0

    Accessible.role: Accessible.List
    Accessible.name: spokenName

    readonly property PluginRows given: PluginRows {
        id: rows

        // A row stays current while the list changes around it, such as when it becomes a favourite.
        onRowsAboutToChange: list.currentRow = list.given.rowAt(list.currentIndex)
        onRowsChanged: {
            list.currentIndex = list.keepsCurrent ? list.given.find(list.currentRow) : Math.min(0, list.given.count - 1);
            list.keepsCurrent = true;
            if (list.currentIndex === 0)
                list.positionViewAtBeginning(); // with its heading
        }
    }

    model: given

    delegate: Column {
        id: item

        required property int index
        required property string heading
        required property string key
        required property string name
        required property string manufacturer
        required property bool isFavourite

        width: list.width - 14
        // One that is kept for later is not in the window, for assistive technology neither.
        ListView.onPooled: visible = false
        ListView.onReused: visible = true

        PluginHeading {
            width: list.width
            text: item.heading
        }
        PluginRowItem {
            width: item.width
            objectName: list.rowName + item.index
            name: item.name
            manufacturer: item.manufacturer
            isFavourite: item.isFavourite
            hint: list.rowHint
            isLoaded: item.key === list.loadedKey
            isCurrent: item.ListView.isCurrentItem
            isOffered: list.isOffered
            canTry: list.canTry
            isTried: item.key === list.triedKey
            texts: list.desk.texts
            onFavoured: {
                list.currentIndex = item.index;
                list.desk.commands.toggleFavourite(item.key);
            }
            onTried: {
                list.currentIndex = item.index;
                list.tryCurrent();
            }
            onClicked: {
                list.currentIndex = item.index;
                list.pickCurrent();
            }
        }
    }

    ScrollBar.vertical: ScrollBar {
        policy: list.contentHeight > list.height ? ScrollBar.AlwaysOn : ScrollBar.AlwaysOff
        width: 12
        Accessible.name: list.Accessible.name
    }
}
