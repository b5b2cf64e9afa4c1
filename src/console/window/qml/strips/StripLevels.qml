// SPDX-License-Identifier: GPL-3.0-or-later
// The fader with its meter, and the two knobs: beside them in Edit mode, below them in Live mode, where a finger needs the room.
import QtQuick
import QtQuick.Layouts
import Vrel.Console

GridLayout {
    id: levels

    required property ConsoleModel desk
    required property StripViewModel entry

    readonly property string strip: " " + entry.number + " " + entry.name

    signal held(bool isHeld)

    columns: Theme.isLive ? 1 : 2
    columnSpacing: 3
    rowSpacing: 2

    LevelColumn {
        Layout.fillWidth: true
        Layout.fillHeight: true
        desk: levels.desk
        faderName: "fader" + levels.entry.index
        spokenName: levels.desk.texts.volume + levels.strip
        stripName: levels.entry.number + " " + levels.entry.name
        channelId: levels.entry.channelId
        value: levels.entry.volume
        valueText: levels.entry.volumeText
        color: levels.entry.color
        learnKind: LearnKind.ChannelVolume
        learnIndex: levels.entry.index
        onMoved: level => levels.desk.commands.setVolume(levels.entry.channelId, level)
        onHeld: isHeld => levels.held(isHeld)
    }

    GridLayout {
        Layout.fillHeight: !Theme.isLive
        Layout.maximumHeight: Theme.isLive ? 66 : 140
        Layout.alignment: Qt.AlignCenter
        columns: Theme.isLive ? 2 : 1
        columnSpacing: 2
        rowSpacing: 0

        Knob {
            objectName: "gain" + levels.entry.index
            desk: levels.desk
            label: "Gain"
            spokenName: label + levels.strip
            echo: levels.entry.gain
            valueText: levels.entry.gainText
            color: levels.entry.color
            isCentered: true
            hint: levels.desk.hints.gain
            learnKind: LearnKind.ChannelGain
            learnIndex: levels.entry.index
            onMoved: value => levels.desk.controls.setGain(levels.entry.channelId, value)
            onReset: levels.desk.controls.resetGain(levels.entry.channelId)
        }
        Knob {
            objectName: "reverb" + levels.entry.index
            desk: levels.desk
            label: "Reverb"
            spokenName: label + levels.strip
            echo: levels.entry.reverb
            valueText: levels.entry.reverbText
            color: levels.entry.color
            hint: levels.desk.hints.reverb
            learnKind: LearnKind.ChannelReverb
            learnIndex: levels.entry.index
            onMoved: value => levels.desk.controls.setReverb(levels.entry.channelId, value)
            onReset: levels.desk.controls.resetReverb(levels.entry.channelId)
        }
    }
}
