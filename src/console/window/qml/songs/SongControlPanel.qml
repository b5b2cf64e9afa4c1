// SPDX-License-Identifier: GPL-3.0-or-later
// How songs change: learned steps with their guard, whether the song that goes rings, the program change of each song.
pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Layouts
import Vrel.Console

ChoicePanel {
    id: panel

    readonly property SongControlViewModel control: desk.songControl
    readonly property string blocked: control.mayEdit ? "" : desk.texts.notInLiveMode

    objectName: "songControlPanel"
    isOpen: control.isOpen
    title: desk.texts.midiLearn
    owner: desk.texts.songsByMidi
    color: Theme.learnable
    onClosed: desk.commands.closeSongControl()
    onOpened: next.button.forceActiveFocus(Qt.PopupFocusReason)

    SongStepRow {
        id: next

        objectName: "learnNextSong"
        desk: panel.desk
        kind: LearnKind.NextSong
        title: panel.desk.texts.nextSong
        source: panel.control.nextSource
    }
    SongStepRow {
        objectName: "learnPreviousSong"
        desk: panel.desk
        kind: LearnKind.PreviousSong
        title: panel.desk.texts.previousSong
        source: panel.control.previousSource
    }
    SongSetting {
        objectName: "stepGuard"
        title: panel.desk.texts.stepGuard
        valueText: panel.control.guardMilliseconds + " ms"
        hint: panel.blocked || panel.desk.hints.stepGuard
        mayEdit: panel.control.mayEdit
        onMoved: by => panel.desk.commands.moveStepGuard(by)
    }
    SongSetting {
        objectName: "letRing"
        title: panel.desk.texts.letRing
        valueText: panel.control.letRingSeconds > 0 ? panel.control.letRingSeconds + " s" : panel.desk.texts.letRingOff
        hint: panel.blocked || panel.desk.hints.letRing
        mayEdit: panel.control.mayEdit
        onMoved: by => panel.desk.commands.moveLetRing(by)
    }
    SongSetting {
        objectName: "songMidiChannel"
        title: panel.desk.texts.midiChannel
        valueText: panel.control.midiChannel > 0 ? panel.control.midiChannel : panel.desk.texts.allMidiChannels
        hint: panel.blocked || panel.desk.hints.songMidiChannel
        mayEdit: panel.control.mayEdit
        onMoved: by => panel.desk.commands.moveSongMidiChannel(by)
    }
    PushButton {
        objectName: "songsByProgramChange"
        Layout.fillWidth: true
        text: panel.desk.texts.songsByProgramChange
        hint: panel.blocked || panel.desk.hints.songsByProgramChange
        isOffered: panel.control.mayEdit
        fill: panel.control.isByProgramChange ? Theme.learnable : Theme.raised
        textSize: Theme.smallText
        Accessible.role: Accessible.CheckBox
        Accessible.checkable: true
        Accessible.checked: panel.control.isByProgramChange
        Accessible.onToggleAction: clicked()
        onClicked: panel.desk.commands.toggleSongsByProgramChange()
    }
    PageList {
        id: list

        objectName: "songPrograms"
        Layout.fillWidth: true
        Layout.fillHeight: true
        spokenName: panel.owner
        activeFocusOnTab: false // its fields have the focus
        model: panel.control.songs

        delegate: SongProgramRow {
            width: list.rowWidth
            desk: panel.desk
            mayEdit: panel.control.mayEdit
        }
    }
    Text {
        objectName: "receivedProgram"
        Layout.fillWidth: true
        visible: panel.control.lastProgram !== ""
        text: panel.desk.texts.receivedProgram + ": " + panel.control.lastProgram
        color: Theme.quietInk
        font.pixelSize: Theme.smallText
        wrapMode: Text.Wrap
        Accessible.role: Accessible.StaticText
        Accessible.name: text
    }
    PushButton {
        objectName: "numberSongs"
        Layout.fillWidth: true
        text: panel.desk.texts.numberSongs
        hint: panel.blocked || panel.desk.hints.numberSongs
        isOffered: panel.control.mayEdit
        textSize: Theme.smallText
        onClicked: panel.desk.commands.numberSongs()
    }
}
