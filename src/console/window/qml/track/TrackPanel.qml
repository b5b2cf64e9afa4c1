// SPDX-License-Identifier: GPL-3.0-or-later
// Sets up what a strip plays of a sound file. It lies over the strips, so that the keyboard can be played meanwhile.
import QtQuick
import QtQuick.Layouts
import Vrel.Console

ChoicePanel {
    id: panel

    readonly property TrackViewModel track: desk.track
    readonly property TrackCommands acts: desk.trackCommands

    objectName: "trackPanel"
    isOpen: track.isOpen
    title: desk.texts.playbackTitle
    owner: track.stripName
    color: track.color
    onClosed: acts.cancel()
    onOpened: choose.forceActiveFocus(Qt.PopupFocusReason)

    FileDrop {
        parent: panel
        anchors.fill: parent
        onFileDropped: file => panel.acts.dropFile(file)
    }

    RowLayout {
        Layout.fillWidth: true
        spacing: Theme.gap

        PushButton {
            id: choose

            objectName: "trackFile"
            text: panel.desk.texts.playbackSelectFile
            hint: panel.desk.hints.trackFile
            onClicked: panel.acts.chooseFile()
        }
        Item {
            Layout.fillWidth: true
        }
        Text {
            objectName: "trackError"
            visible: text !== ""
            text: panel.track.errorText
            color: Theme.warning
            font.pixelSize: Theme.bodyText
            font.bold: true
            Accessible.role: Accessible.AlertMessage
            Accessible.name: text
        }
        Text {
            objectName: "trackDuration"
            text: panel.track.isReading ? panel.track.durationText + " \u2026" : panel.track.durationText
            color: Theme.readingInk
            font.pixelSize: Theme.smallText
            Accessible.role: Accessible.StaticText
            Accessible.name: text
        }
    }

    Text {
        readonly property bool isName: panel.track.fileName !== ""

        objectName: "trackFileName"
        Layout.fillWidth: true
        text: isName ? panel.track.fileName : panel.desk.texts.playbackNoFileSelected
        color: isName ? Theme.ink : Theme.quietInk
        font.pixelSize: Theme.bodyText
        elide: isName ? Text.ElideMiddle : Text.ElideNone
        wrapMode: isName ? Text.NoWrap : Text.Wrap
        Accessible.role: Accessible.StaticText
        Accessible.name: text
    }

    TrackWaveform {
        objectName: "trackWaveform"
        Layout.fillWidth: true
        Layout.fillHeight: true
        desk: panel.desk
        track: panel.track
    }

    TrackOptions {
        Layout.fillWidth: true
        desk: panel.desk
        track: panel.track
    }

    RowLayout {
        Layout.fillWidth: true
        spacing: Theme.gap

        PushButton {
            objectName: "trackPreview"
            Layout.preferredWidth: 120
            text: (panel.track.isPreviewing ? "\u25a0 " : "\u25b6 ") + spokenName
            spokenName: panel.track.isPreviewing ? panel.desk.texts.playbackStop : panel.desk.texts.playbackPlay
            hint: panel.desk.hints.trackPreview
            isOffered: panel.track.fileName !== ""
            fill: panel.track.isPreviewing ? Theme.instrumentPresent : Theme.raised
            onClicked: panel.acts.togglePreview()
        }
        Text {
            objectName: "trackTempo"
            Layout.fillWidth: true
            text: panel.track.tempoText
            color: Theme.readingInk
            font.pixelSize: Theme.smallText
            Accessible.role: Accessible.StaticText
            Accessible.name: text
        }
        PushButton {
            objectName: "trackCancel"
            text: panel.desk.texts.playbackCancel
            hint: panel.desk.hints.trackCancel
            onClicked: panel.acts.cancel()
        }
        PushButton {
            objectName: "trackApply"
            text: panel.desk.texts.playbackApply
            hint: panel.desk.hints.trackApply
            isOffered: panel.track.fileName !== ""
            fill: Theme.accent
            onClicked: panel.acts.apply()
        }
    }
}
