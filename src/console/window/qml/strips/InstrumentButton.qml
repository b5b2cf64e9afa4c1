// SPDX-License-Identifier: GPL-3.0-or-later
// What the strip plays. A press chooses it or, on a strip that holds something, asks whether to change or remove it.
pragma ComponentBehavior: Bound

import QtQuick
import Vrel.Console

PushButton {
    id: button

    required property ConsoleModel desk
    required property StripViewModel entry

    objectName: "stripInstrument" + entry.index
    padding: 0
    text: entry.isPlaying ? "\u25b6 " + entry.instrumentText : entry.instrumentText
    spokenName: desk.texts.instruments + " " + entry.number + " " + entry.instrumentText
    hint: isOffered ? desk.hints.instrument : desk.hints.notInLiveMode
    isOffered: desk.session.mayChangeInstrument
    opacity: isOffered ? 1 : 0.75 // its words are read also where it cannot be pressed
    fill: entry.instrument === StripViewModel.Failed ? Theme.instrumentFailed : entry.instrument === StripViewModel.Present ? Theme.instrumentPresent : Theme.panel
    ink: entry.isPlaying ? Theme.ready : entry.instrument === StripViewModel.Empty ? Theme.quietInk : Theme.ink
    edge: entry.instrument === StripViewModel.Failed ? Theme.panic : Theme.line
    onClicked: {
        if (entry.hasInstrument)
            menu.popup(button, 0, height);
        else
            desk.commands.openInstrumentSelector(entry.channelId);
    }

    contentItem: Text {
        text: button.text
        color: button.ink
        font.pixelSize: Theme.tinyText
        font.letterSpacing: -0.5
        lineHeight: 0.8
        wrapMode: Text.WordWrap
        elide: Text.ElideRight
        horizontalAlignment: Text.AlignHCenter
        verticalAlignment: Text.AlignVCenter
    }

    PopupMenu {
        id: menu

        PopupEntry {
            objectName: "openInstrument"
            text: button.desk.texts.openEffect
            hint: button.entry.isPlayback ? button.desk.hints.editTrack : button.entry.isVisual ? button.desk.hints.editClips : button.desk.hints.instrumentWindow
            enabled: button.entry.isPlayback || button.entry.isVisual || button.entry.instrument === StripViewModel.Present
            onTriggered: {
                if (button.entry.isPlayback)
                    button.desk.trackCommands.open(button.entry.channelId);
                else if (button.entry.isVisual)
                    button.desk.clipCommands.open(button.entry.channelId);
                else
                    button.desk.plugins.toggleInstrument(button.entry.channelId);
            }
        }
        PopupEntry {
            objectName: "openControls"
            text: button.desk.hints.openControls
            hint: button.desk.hints.instrumentWindow
            enabled: button.entry.instrument === StripViewModel.Present && !button.entry.isPlayback && !button.entry.isVisual
            onTriggered: button.desk.plugins.toggleInstrumentControls(button.entry.channelId)
        }
        PopupEntry {
            objectName: "changeInstrument"
            text: button.desk.texts.changeInstrument
            hint: button.desk.hints.changeInstrument
            onTriggered: button.desk.commands.openInstrumentSelector(button.entry.channelId)
        }
        PopupEntry {
            objectName: "removeInstrument"
            text: button.desk.texts.removeInstrument
            hint: button.desk.hints.removeInstrument
            onTriggered: button.desk.commands.removeInstrument(button.entry.channelId)
        }
    }
}
