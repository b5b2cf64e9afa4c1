// SPDX-License-Identifier: GPL-3.0-or-later
// Chooses what a strip plays. It lies over the setlist's column, so that the strips can be seen and played meanwhile.
import QtQuick
import QtQuick.Layouts
import Vrel.Console

ChoicePanel {
    id: panel

    readonly property SelectorViewModel selector: desk.selector

    objectName: "instrumentPanel"
    isOpen: selector.isOpen
    title: desk.texts.instruments
    owner: selector.stripName
    color: selector.color
    onClosed: desk.commands.cancelInstrumentSelector()
    onOpened: search.forceActiveFocus(Qt.PopupFocusReason)
    // After a press on a row, which drops the caret, the keys are still the list's.
    Keys.onPressed: event => {
        if (Window.activeFocusItem === panel)
            plugins.takeKey(event);
    }

    RowLayout {
        Layout.fillWidth: true
        spacing: Theme.gap

        SourceButton {
            objectName: "playbackSource"
            Layout.fillWidth: true
            Layout.preferredWidth: 100
            symbol: "wave"
            title: panel.desk.texts.playbackTitle
            subtitle: panel.desk.texts.playbackSubtitle
            onClicked: panel.desk.commands.pickPlayback()
        }
        SourceButton {
            objectName: "visualSource"
            Layout.fillWidth: true
            Layout.preferredWidth: 100
            symbol: "pictures"
            title: panel.desk.texts.visualTitle
            subtitle: panel.desk.texts.visualSubtitle
            onClicked: panel.desk.commands.pickVisual()
        }
    }

    EntryField {
        id: search

        objectName: "instrumentSearch"
        Layout.fillWidth: true
        placeholderText: panel.desk.texts.pluginSearchPlaceholder
        spokenName: placeholderText
        hint: readOnly ? panel.desk.hints.notInLiveMode : panel.desk.hints.search
        echo: panel.selector.searchText
        readOnly: !panel.desk.session.mayTypeText
        selectsAll: true
        font.pixelSize: text === "" ? 12 : Theme.bodyText // the longest of the five languages has its room
        Keys.priority: Keys.BeforeItem
        Keys.onPressed: event => plugins.takeKey(event)
        onTyped: text => {
            plugins.keepsCurrent = false;
            panel.desk.commands.setInstrumentSearch(text);
        }
    }

    PluginListView {
        id: plugins

        objectName: "instrumentList"
        Layout.fillWidth: true
        Layout.fillHeight: true
        visible: count > 0
        spokenName: panel.title
        desk: panel.desk
        pluginRows: panel.selector.rows
        loadedKey: panel.selector.loadedKey
        triedKey: panel.selector.triedKey
        canTry: true
        onTried: key => panel.desk.commands.tryInstrument(key)
        onPicked: key => panel.desk.commands.pickInstrument(key)
    }

    NothingFound {
        Layout.fillWidth: true
        Layout.fillHeight: true
        visible: plugins.count === 0
        desk: panel.desk
        title: panel.desk.texts.noResults
    }
}
