// SPDX-License-Identifier: GPL-3.0-or-later
// One clip: its note, its file and how a note shows it. The arrow keys on the note move it.
import QtQuick
import QtQuick.Layouts
import Vrel.Console

Item {
    id: item

    required property ConsoleModel desk
    required property ClipCommands acts
    required property clipRow entry
    required property int index

    readonly property string spokenName: desk.texts.visualFile + " " + (index + 1) + " " + entry.fileName

    objectName: "clip" + index
    height: Theme.touch + 24

    Accessible.role: Accessible.ListItem
    Accessible.name: spokenName
    Accessible.description: desk.texts.visualPreview
    Accessible.selectable: true
    Accessible.selected: entry.isShown
    Accessible.onPressAction: item.acts.select(item.entry.mappingId)

    Component.onCompleted: acts.wantSummary(entry.filePath)
    onEntryChanged: acts.wantSummary(entry.filePath)

    Rectangle {
        anchors.fill: parent
        color: item.entry.isShown ? Theme.instrumentPresent : Theme.well
        radius: Theme.radius
        border.width: 1
        border.color: item.entry.isShown ? Theme.teal : Theme.line
    }
    MouseArea {
        anchors.fill: parent
        onClicked: item.acts.select(item.entry.mappingId)
    }

    RowLayout {
        anchors.fill: parent
        anchors.margins: 4
        spacing: 6

        ClipPictureItem {
            Layout.preferredWidth: 78
            Layout.preferredHeight: 44
            frame: item.entry.poster
            Accessible.ignored: true
        }
        PushButton {
            objectName: "clipNote" + item.index
            Layout.preferredWidth: 52
            text: item.entry.noteName
            spokenName: item.desk.texts.visualNote + " " + text + " " + item.spokenName
            hint: item.desk.hints.clipNote
            onClicked: item.acts.toggleNotePicker(item.entry.mappingId)
            Keys.onUpPressed: item.acts.setNote(item.entry.mappingId, item.entry.note + 1)
            Keys.onDownPressed: item.acts.setNote(item.entry.mappingId, item.entry.note - 1)
        }
        PushButton {
            objectName: "clipLearn" + item.index
            Layout.preferredWidth: 36
            text: "\u25ce"
            spokenName: item.desk.texts.midiLearn + " " + item.spokenName
            hint: item.desk.hints.clipLearn
            fill: item.entry.isLearning ? Theme.learnPending : Theme.raised
            Accessible.checkable: true
            Accessible.checked: item.entry.isLearning
            onClicked: item.acts.toggleLearn(item.entry.mappingId)
        }
        Column {
            Layout.fillWidth: true

            Text {
                objectName: "clipFile" + item.index
                width: parent.width
                text: item.entry.fileName === "" ? item.desk.texts.playbackNoFileSelected : item.entry.fileName
                color: item.entry.fileName === "" ? Theme.quietInk : Theme.ink
                font.pixelSize: Theme.smallText
                elide: item.entry.fileName === "" ? Text.ElideNone : Text.ElideMiddle
                wrapMode: item.entry.fileName === "" ? Text.Wrap : Text.NoWrap
                Accessible.role: Accessible.StaticText
                Accessible.name: text
            }
            Text {
                objectName: "clipState" + item.index
                width: parent.width
                text: {
                    if (item.entry.isTooLarge)
                        return item.desk.hints.clipTooLarge;
                    if (item.entry.isUnplayable)
                        return item.desk.hints.clipUnplayable;
                    return item.entry.isStill ? item.desk.hints.clipStill : item.entry.lengthText;
                }
                color: item.entry.isUnplayable ? Theme.warning : Theme.readingInk
                font.pixelSize: Theme.tinyText
                elide: Text.ElideRight
                Accessible.ignored: text === ""
                Accessible.role: Accessible.StaticText
                Accessible.name: text
            }
        }
        PushButton {
            objectName: "clipChoose" + item.index
            text: "\u2026"
            spokenName: item.desk.texts.visualChooseVideo + " " + item.spokenName
            hint: item.desk.texts.visualChooseVideo
            onClicked: item.acts.chooseFile(item.entry.mappingId)
        }
        PushButton {
            objectName: "clipOnce" + item.index
            Layout.preferredWidth: 36
            isOffered: !item.entry.isStill
            text: item.entry.holdsLastPicture ? "1\u00d7" : "\u221e"
            spokenName: item.desk.hints.clipOnce + " " + item.spokenName
            hint: item.entry.isStill ? item.desk.hints.clipStillStays : item.desk.hints.clipOnce
            fill: item.entry.holdsLastPicture && isOffered ? Theme.accent : Theme.raised
            Accessible.checkable: true
            Accessible.checked: item.entry.holdsLastPicture
            onClicked: item.acts.setHoldsLastPicture(item.entry.mappingId, !item.entry.holdsLastPicture)
        }
        PushButton {
            objectName: "clipTrigger" + item.index
            Layout.preferredWidth: 100
            Layout.preferredHeight: 48 // two lines
            text: item.entry.toggles ? item.desk.texts.visualToggleMode : item.desk.texts.visualHoldMode
            spokenName: item.desk.texts.visualTriggerMode + " " + text + " " + item.spokenName
            hint: item.desk.hints.clipTrigger
            textSize: Theme.smallText
            onClicked: item.acts.setToggles(item.entry.mappingId, !item.entry.toggles)
        }
        PushButton {
            objectName: "clipDelete" + item.index
            text: "\u2715"
            spokenName: item.desk.hints.clipDelete + " " + item.spokenName
            hint: item.desk.hints.clipDelete
            onClicked: item.acts.remove(item.entry.mappingId)
        }
    }
}
