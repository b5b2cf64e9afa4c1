// SPDX-License-Identifier: GPL-3.0-or-later
// The effects of one strip or of the master in chain order, and below them what can be added.
pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Layouts
import Vrel.Console

ChoicePanel {
    id: panel

    readonly property RackViewModel rack: desk.rack

    objectName: "rackPanel"
    isOpen: rack.isOpen
    title: desk.texts.effectsTitle
    owner: rack.ownerName
    color: rack.color
    onClosed: desk.commands.closeEffectRack()
    onOpened: search.forceActiveFocus(Qt.PopupFocusReason)

    ListView {
        id: effects

        objectName: "rackEffects"
        Layout.fillWidth: true
        Layout.preferredHeight: Math.min(contentHeight, panel.height * 0.4)
        visible: count > 0
        clip: true
        spacing: 4
        boundsBehavior: Flickable.StopAtBounds
        model: panel.rack.effects

        Accessible.role: Accessible.List
        Accessible.name: panel.title + " " + panel.owner

        delegate: RackEffect {
            width: effects.width
            desk: panel.desk
            rack: panel.rack
            count: effects.count
        }
    }

    EntryField {
        id: search

        objectName: "effectSearch"
        Layout.fillWidth: true
        placeholderText: panel.desk.texts.audioEffectSearchPlaceholder
        spokenName: placeholderText
        hint: readOnly ? panel.desk.hints.notInLiveMode : panel.desk.hints.search
        echo: panel.rack.searchText
        readOnly: !panel.desk.session.mayTypeText
        selectsAll: true
        font.pixelSize: text === "" ? 12 : Theme.bodyText // the longest of the five languages has its room
        Keys.priority: Keys.BeforeItem
        Keys.onPressed: event => plugins.takeKey(event)
        onTyped: text => {
            plugins.keepsCurrent = false;
            panel.desk.commands.setEffectSearch(text);
        }
    }

    PluginListView {
        id: plugins

        objectName: "effectList"
        Layout.fillWidth: true
        Layout.fillHeight: true
        visible: count > 0
        spokenName: panel.title
        desk: panel.desk
        pluginRows: panel.rack.rows
        rowName: "effect"
        rowHint: panel.rack.mayChange ? panel.desk.texts.loadHint : panel.desk.texts.notInLiveMode
        isOffered: panel.rack.mayChange
        onPicked: key => panel.desk.commands.pickEffect(key)
    }

    NothingFound {
        Layout.fillWidth: true
        Layout.fillHeight: true
        visible: plugins.count === 0
        desk: panel.desk
        title: panel.desk.texts.noAudioEffects
    }
}
