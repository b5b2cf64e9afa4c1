// SPDX-License-Identifier: GPL-3.0-or-later
// What a strip does with its range: whether it repeats, and what ends it.
import QtQuick
import QtQuick.Layouts
import Vrel.Console

RowLayout {
    id: options

    required property ConsoleModel desk
    required property TrackViewModel track

    spacing: Theme.gap

    SendToggle {
        objectName: "trackLoop"
        Layout.preferredWidth: 110
        Layout.preferredHeight: Theme.touch
        label: options.desk.texts.playbackLoop
        spokenName: label
        hint: options.desk.hints.trackLoop
        isOn: options.track.isLooping
        onClicked: options.desk.trackCommands.setLooping(!isOn)
    }
    Caption {
        text: options.desk.texts.playbackStopBehavior
    }
    PushButton {
        objectName: "trackStopOnKey"
        text: options.desk.texts.playbackStopOnKey
        hint: options.desk.hints.trackStop
        textSize: Theme.smallText
        fill: options.track.playsToExit ? Theme.panel : Theme.instrumentPresent
        Accessible.role: Accessible.RadioButton
        Accessible.checkable: true
        Accessible.checked: !options.track.playsToExit
        onClicked: options.desk.trackCommands.setPlaysToExit(false)
    }
    PushButton {
        objectName: "trackStopAtExit"
        text: options.desk.texts.playbackStopAtExit
        hint: options.desk.hints.trackStop
        textSize: Theme.smallText
        fill: options.track.playsToExit ? Theme.instrumentPresent : Theme.panel
        Accessible.role: Accessible.RadioButton
        Accessible.checkable: true
        Accessible.checked: options.track.playsToExit
        onClicked: options.desk.trackCommands.setPlaysToExit(true)
    }
    Item {
        Layout.fillWidth: true
    }
    PushButton {
        objectName: "trackZero"
        text: "\u2192 0"
        spokenName: options.desk.hints.trackZero
        hint: spokenName
        textSize: Theme.smallText
        isOffered: options.track.duration > 0
        onClicked: options.desk.trackCommands.moveEntryToZeroCrossing()
    }
}
