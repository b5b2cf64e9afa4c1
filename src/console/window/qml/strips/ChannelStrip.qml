// SPDX-License-Identifier: GPL-3.0-or-later
// One channel of the song on stage: which it is, how its instrument is, and what is heard of it. In Live mode what sets it up is behind
// one press, in the place of its levels.
import QtQuick
import QtQuick.Layouts
import Vrel.Console

FocusArea {
    id: strip

    required property ConsoleModel desk
    required property StripViewModel entry
    required property int index
    property bool isDragged
    property bool isSetUp

    readonly property bool isFailed: entry.status === StripViewModel.Crashed
    readonly property bool showsSetup: !Theme.isLive || isSetUp
    readonly property bool showsLevels: !Theme.isLive || !isSetUp

    signal faderHeld(bool isHeld)
    signal menuWanted
    signal colorWanted
    signal dragBegan
    signal dragMoved(real x) // in the window
    signal dragEnded
    signal selected

    objectName: "strip" + index
    width: Theme.strip
    z: isDragged ? 1 : 0

    Accessible.role: Accessible.ListItem
    Accessible.name: entry.number + " " + entry.name
    Accessible.description: entry.statusText
    Accessible.selected: entry.isSelected
    Accessible.selectable: true
    Accessible.onPressAction: strip.desk.commands.selectStrip(strip.entry.channelId)

    onEntered: desk.commands.selectStrip(entry.channelId)
    Keys.onMenuPressed: menuWanted()
    Keys.onPressed: event => {
        if (event.key === Qt.Key_F10 && event.modifiers === Qt.ShiftModifier) {
            event.accepted = true;
            menuWanted();
        }
    }

    Connections {
        target: strip.entry
        function onIsSelectedChanged(): void {
            if (strip.entry.isSelected)
                strip.selected();
        }
    }

    MirrorRef {
        entry: strip.entry
    }

    SpokenAction {
        name: strip.desk.texts.moveChannelLeft + " " + strip.Accessible.name
        hint: isOffered ? strip.desk.hints.moveChannelLeft : strip.index === 0 ? strip.desk.hints.alreadyFirst : strip.desk.hints.notInLiveMode
        isOffered: strip.desk.session.mayMoveChannels && strip.index > 0
        onActed: strip.desk.commands.moveChannel(strip.entry.channelId, -1)
    }
    SpokenAction {
        name: strip.desk.texts.moveChannelRight + " " + strip.Accessible.name
        hint: isOffered ? strip.desk.hints.moveChannelRight : strip.index === strip.desk.strips.count - 1 ? strip.desk.hints.alreadyLast : strip.desk.hints.notInLiveMode
        isOffered: strip.desk.session.mayMoveChannels && strip.index < strip.desk.strips.count - 1
        onActed: strip.desk.commands.moveChannel(strip.entry.channelId, 1)
    }
    SpokenAction {
        name: strip.desk.texts.deleteChannel + " " + strip.Accessible.name
        hint: isOffered ? strip.desk.hints.deleteChannel : strip.desk.hints.notInLiveMode
        isOffered: strip.desk.session.mayDeleteChannel
        onActed: strip.desk.commands.deleteChannel(strip.entry.channelId)
    }

    Rectangle {
        id: plate

        anchors.fill: parent
        anchors.rightMargin: 6
        radius: Theme.radius
        color: strip.isFailed ? Theme.failed : Theme.background
        border.width: strip.isFailed || strip.isDragged ? 3 : 1
        border.color: strip.isDragged ? Theme.teal : strip.isFailed ? Theme.panic : Theme.raised

        // Of its own, since the frame of the strip may have something else to say.
        Rectangle {
            objectName: "selection" + strip.index
            anchors.fill: parent
            anchors.margins: parent.border.width > 1 ? 3 : 0
            visible: strip.entry.isSelected
            color: "transparent"
            radius: Theme.radius
            border.width: 2
            border.color: Theme.ink
        }

        StripDragArea {
            anchors.fill: parent
            desk: strip.desk
            onMenuWanted: strip.menuWanted()
            onDragBegan: strip.dragBegan()
            onDragMoved: x => strip.dragMoved(x)
            onDragEnded: strip.dragEnded()
        }

        FileDrop {
            anchors.fill: parent
            onFileDropped: file => strip.desk.commands.dropOnStrip(strip.entry.channelId, file)
        }

        ColumnLayout {
            anchors.fill: parent
            anchors.margins: 5
            spacing: Theme.isLive ? 4 : 2

            StripHeader {
                Layout.fillWidth: true
                desk: strip.desk
                entry: strip.entry
                onColorWanted: strip.colorWanted()
                onMenuWanted: strip.menuWanted()
                onDragBegan: strip.dragBegan()
                onDragMoved: x => strip.dragMoved(x)
                onDragEnded: strip.dragEnded()
            }

            StripStatus {
                Layout.fillWidth: true
                entry: strip.entry
            }

            // What is left is the fader's.
            StripSource {
                Layout.fillWidth: true
                Layout.fillHeight: false
                visible: strip.showsSetup
                desk: strip.desk
                entry: strip.entry
            }

            StripLevels {
                Layout.fillWidth: true
                Layout.fillHeight: true
                visible: strip.showsLevels
                desk: strip.desk
                entry: strip.entry
                onHeld: isHeld => strip.faderHeld(isHeld)
            }

            MuteSolo {
                Layout.fillWidth: true
                desk: strip.desk
                entry: strip.entry
            }

            StripSetup {
                Layout.fillWidth: true
                visible: strip.showsSetup
                desk: strip.desk
                entry: strip.entry
            }

            Item {
                Layout.fillHeight: true
                visible: !strip.showsLevels
            }

            PushButton {
                objectName: "setup" + strip.index
                Layout.fillWidth: true
                visible: Theme.isLive
                text: strip.isSetUp ? "\u25b4" : "\u2699"
                spokenName: strip.desk.hints.stripSetup + " " + strip.entry.number + " " + strip.entry.name
                hint: strip.desk.hints.stripSetup
                fill: strip.isSetUp ? Theme.raised : Theme.panel
                Accessible.checkable: true
                Accessible.checked: strip.isSetUp
                onClicked: strip.isSetUp = !strip.isSetUp
            }
        }
    }
}
