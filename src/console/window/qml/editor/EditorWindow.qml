// SPDX-License-Identifier: GPL-3.0-or-later
// The window of a plug-in: its presets, and all its controls in a list that can be searched. The desktop keeps it above the console.
pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Layouts
import QtQuick.Window
import Vrel.Console

ScaledWindow {
    id: window

    required property ConsoleModel desk
    required property Window owner
    required property EditorViewModel entry

    readonly property int centerings: entry.centerings
    readonly property int raises: entry.raises

    function center(): void {
        x = owner.x + (owner.width - width) / 2;
        y = owner.y + (owner.height - height) / 2;
    }

    objectName: "pluginEditor"
    title: entry.title
    transientParent: owner
    flags: Qt.Dialog | Qt.CustomizeWindowHint | Qt.WindowTitleHint | Qt.WindowCloseButtonHint
    width: entry.contentWidth
    height: entry.contentHeight
    minimumWidth: 520
    minimumHeight: 420
    color: Theme.background
    onCenteringsChanged: center()
    onRaisesChanged: raise()
    onClosing: close => {
        close.accepted = false; // it goes with its row
        desk.plugins.close(entry.editorId);
    }
    Component.onCompleted: {
        center();
        show();
        requestActivate();
        if (!search.readOnly)
            search.forceActiveFocus(Qt.PopupFocusReason);
    }

    MirrorRef {
        entry: window.entry
    }

    ColumnLayout {
        anchors.fill: parent
        anchors.margins: Theme.gap
        spacing: Theme.gap

        PresetBar {
            id: presetBar

            Layout.fillWidth: true
            visible: window.entry.hasPresets
            desk: window.desk
            entry: window.entry
        }

        PresetList {
            Layout.fillWidth: true
            Layout.fillHeight: true
            visible: presetBar.visible && presetBar.isListOpen
            desk: window.desk
            entry: window.entry
            onClosed: presetBar.isListOpen = false
        }

        EntryField {
            id: search

            objectName: "controlSearch"
            Layout.fillWidth: true
            visible: !presetBar.isListOpen
            placeholderText: window.desk.texts.controlSearch
            spokenName: placeholderText
            hint: readOnly ? window.desk.hints.notInLiveMode : window.desk.hints.search
            readOnly: !window.desk.session.mayTypeText
            echo: window.entry.searchText
            onTyped: text => window.desk.plugins.setSearch(window.entry.editorId, text)
        }

        ControlList {
            Layout.fillWidth: true
            Layout.fillHeight: true
            visible: count > 0 && !presetBar.isListOpen
            desk: window.desk
            entry: window.entry
        }

        NothingFound {
            Layout.fillWidth: true
            Layout.fillHeight: true
            visible: window.entry.isLoaded && window.entry.entries.length === 0 && !presetBar.isListOpen
            desk: window.desk
            title: window.desk.texts.noControls
        }
    }
}
