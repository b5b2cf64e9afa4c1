// SPDX-License-Identifier: GPL-3.0-or-later
// One channel of the song on stage: which it is, how its instrument is, and what is heard of it.
import QtQuick
import QtQuick.Layouts
import Vrel.Console

Item {
    id: strip

    required property ConsoleModel desk
    required property StripViewModel entry
    required property int index
    property bool isDragged

    readonly property bool isFailed: entry.status === StripViewModel.Crashed

    signal faderHeld(bool isHeld)
    signal menuWanted
    signal dragBegan
    signal dragMoved(real x) // in the window
    signal dragEnded
    signal selected

    objectName: "strip" + index
    width: Theme.strip
    z: isDragged ? 1 : 0

    Accessible.role: Accessible.Grouping
    Accessible.name: entry.number + " " + entry.name
    Accessible.description: entry.statusText
    Accessible.selected: entry.isSelected
    Accessible.selectable: true
    Accessible.onPressAction: strip.desk.commands.selectStrip(strip.entry.channelId)

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

    Rectangle {
        id: plate

        anchors.fill: parent
        anchors.rightMargin: Theme.gap
        radius: Theme.radius
        color: strip.isFailed ? Theme.failed : Theme.background
        border.width: strip.isFailed || strip.isDragged ? 3 : strip.entry.isSelected ? 2 : 1
        border.color: strip.isDragged ? Theme.teal : strip.isFailed ? Theme.panic : strip.entry.isSelected ? Theme.ink : Theme.raised

        MouseArea {
            anchors.fill: parent
            acceptedButtons: Qt.LeftButton | Qt.RightButton
            onPressed: forceActiveFocus(Qt.MouseFocusReason)
            onClicked: mouse => {
                strip.desk.commands.selectStrip(strip.entry.channelId);
                if (mouse.button === Qt.RightButton)
                    strip.menuWanted();
            }
            onPressAndHold: strip.menuWanted()
        }

        ColumnLayout {
            anchors.fill: parent
            anchors.margins: 7
            spacing: 6

            StripHeader {
                Layout.fillWidth: true
                desk: strip.desk
                entry: strip.entry
                onMenuWanted: strip.menuWanted()
                onDragBegan: strip.dragBegan()
                onDragMoved: x => strip.dragMoved(x)
                onDragEnded: strip.dragEnded()
            }

            StripStatus {
                Layout.fillWidth: true
                entry: strip.entry
            }

            LevelColumn {
                Layout.fillWidth: true
                Layout.fillHeight: true
                desk: strip.desk
                faderName: "fader" + strip.index
                spokenName: strip.desk.texts.volume + " " + strip.entry.number + " " + strip.entry.name
                channelId: strip.entry.channelId
                value: strip.entry.volume
                valueText: strip.entry.volumeText
                color: strip.entry.color
                learnKind: LearnKind.ChannelVolume
                learnIndex: strip.entry.index
                onMoved: level => strip.desk.commands.setVolume(strip.entry.channelId, level)
                onHeld: isHeld => strip.faderHeld(isHeld)
            }

            // Side by side where the window is low: a fader needs its length.
            GridLayout {
                Layout.fillWidth: true
                columns: 2
                columnSpacing: 6
                rowSpacing: 6

                LampButton {
                    objectName: "mute" + strip.index
                    Layout.fillWidth: true
                    Layout.preferredWidth: 50
                    desk: strip.desk
                    text: strip.desk.texts.mute
                    spokenName: text + " " + strip.entry.number + " " + strip.entry.name
                    isOn: strip.entry.mute
                    lamp: Theme.muteLit
                    learnKind: LearnKind.ChannelMute
                    learnIndex: strip.entry.index
                    onActed: strip.desk.commands.toggleMute(strip.entry.channelId)
                }

                LampButton {
                    objectName: "solo" + strip.index
                    Layout.fillWidth: true
                    Layout.preferredWidth: 50
                    desk: strip.desk
                    text: strip.desk.texts.solo
                    spokenName: text + " " + strip.entry.number + " " + strip.entry.name
                    isOn: strip.entry.solo
                    lamp: Theme.soloLit
                    learnKind: LearnKind.ChannelSolo
                    learnIndex: strip.entry.index
                    onActed: strip.desk.commands.toggleSolo(strip.entry.channelId)
                }
            }
        }
    }
}
