// SPDX-License-Identifier: GPL-3.0-or-later
// The presets of a plug-in under the names of their banks, and their search. The arrow keys load the next one at once, also from
// within the search. There are items for what is in sight alone.
pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import Vrel.Console

ColumnLayout {
    id: list

    required property ConsoleModel desk
    required property EditorViewModel entry

    signal closed

    function takeKey(event: KeyEvent): void {
        const page = Math.max(1, Math.floor(presets.height / Theme.touch) - 1);
        const steps = {
            [Qt.Key_Up]: -1,
            [Qt.Key_Down]: 1,
            [Qt.Key_PageUp]: -page,
            [Qt.Key_PageDown]: page
        };
        if (event.key in steps)
            desk.plugins.stepPreset(entry.editorId, steps[event.key]);
        else if (event.key === Qt.Key_Escape || event.key === Qt.Key_Return || event.key === Qt.Key_Enter)
            closed();
        else
            return;
        event.accepted = true;
    }

    spacing: Theme.gap
    // A search that cannot be seen would keep the arrows from most presets.
    onVisibleChanged: {
        if (!visible)
            desk.plugins.setPresetSearch(entry.editorId, "");
        else if (!search.readOnly)
            search.forceActiveFocus(Qt.PopupFocusReason);
    }

    EntryField {
        id: search

        objectName: "presetSearch"
        Layout.fillWidth: true
        placeholderText: list.desk.texts.presetSearch
        spokenName: placeholderText
        hint: readOnly ? list.desk.hints.notInLiveMode : list.desk.hints.search
        readOnly: !list.desk.session.mayTypeText
        echo: list.entry.presetSearch
        Keys.priority: Keys.BeforeItem
        Keys.onPressed: event => list.takeKey(event)
        onTyped: text => list.desk.plugins.setPresetSearch(list.entry.editorId, text)
    }

    ListView {
        id: presets

        readonly property PluginRows given: PluginRows {
            rows: list.entry.presets
            onRowsChanged: presets.follow()
        }
        readonly property string shownKey: list.entry.presetKey

        function follow(): void {
            currentIndex = given.findKey(shownKey);
        }

        objectName: "presetList"
        Layout.fillWidth: true
        Layout.fillHeight: true
        visible: count > 0
        clip: true
        spacing: 4
        boundsBehavior: Flickable.StopAtBounds
        keyNavigationEnabled: false
        highlightMoveDuration: 0
        activeFocusOnTab: true
        model: given
        Keys.onPressed: event => list.takeKey(event)
        onShownKeyChanged: follow()

        Accessible.role: Accessible.List
        Accessible.name: list.desk.texts.choosePreset

        delegate: Column {
            id: item

            required property int index
            required property string heading
            required property string key
            required property string name

            width: presets.width - 14

            PluginHeading {
                width: presets.width
                text: item.heading
            }
            PresetItem {
                width: item.width
                objectName: "preset" + item.index
                name: item.name
                isCurrent: item.ListView.isCurrentItem
                hint: list.desk.texts.choosePreset
                onClicked: list.desk.plugins.choosePreset(list.entry.editorId, item.key)
            }
        }

        ScrollBar.vertical: ScrollBar {
            policy: presets.contentHeight > presets.height ? ScrollBar.AlwaysOn : ScrollBar.AlwaysOff
            width: 12
            Accessible.name: presets.Accessible.name
        }
    }

    NothingFound {
        Layout.fillWidth: true
        Layout.fillHeight: true
        visible: presets.count === 0
        desk: list.desk
        title: list.desk.texts.noPresets
    }
}
