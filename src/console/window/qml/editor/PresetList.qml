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
        const page = Math.max(1, Math.floor(rows.height / Theme.touch) - 1);
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
        id: rows

        readonly property PluginHeadings headings: PluginHeadings {}
        readonly property PluginRows given: PluginRows {
            rows: list.entry.presets
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
        onCountChanged: follow()

        Accessible.role: Accessible.List
        Accessible.name: list.desk.texts.choosePreset

        section.property: "section"
        section.delegate: headings.heading

        delegate: PresetItem {
            width: rows.width - 14
            isCurrent: ListView.isCurrentItem
            hint: list.desk.texts.choosePreset
            onClicked: list.desk.plugins.choosePreset(list.entry.editorId, key)
        }

        ScrollBar.vertical: ScrollBar {
            policy: rows.contentHeight > rows.height ? ScrollBar.AlwaysOn : ScrollBar.AlwaysOff
            width: 12
            Accessible.name: rows.Accessible.name
        }
    }

    NothingFound {
        Layout.fillWidth: true
        Layout.fillHeight: true
        visible: rows.count === 0
        desk: list.desk
        title: list.desk.texts.noPresets
    }
}
