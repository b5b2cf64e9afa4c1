// SPDX-License-Identifier: GPL-3.0-or-later
// What is chosen of the large notes: how large they are, and on which screen.
pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Layouts
import Vrel.Console

RowLayout {
    id: tools

    required property ConsoleModel desk
    required property string consoleDisplay
    property bool isOnDisplay

    spacing: Theme.gap

    Repeater {
        model: tools.isOnDisplay ? [] : Application.screens

        delegate: PushButton {
            required property int index
            required property ScreenInfo modelData

            objectName: "notesOnDisplay" + index
            visible: modelData.name !== tools.consoleDisplay
            text: "\u2197 " + modelData.name
            textSize: Theme.smallText
            spokenName: tools.desk.hints.notesOnDisplay + " " + modelData.name
            hint: tools.desk.hints.notesOnDisplay
            onClicked: tools.desk.commands.showNotesOn(modelData.name)
        }
    }
    PushButton {
        objectName: "notesInConsole"
        visible: tools.isOnDisplay
        text: "\u2199"
        spokenName: tools.desk.hints.notesInConsole
        hint: spokenName
        onClicked: tools.desk.commands.showNotesOn("")
    }
    PushButton {
        objectName: "smallerNotes"
        text: "A\u2212"
        spokenName: tools.desk.hints.smallerNotes
        hint: spokenName
        onClicked: tools.desk.commands.stepNotesText(-1)
    }
    PushButton {
        objectName: "largerNotes"
        text: "A+"
        spokenName: tools.desk.hints.largerNotes
        hint: spokenName
        onClicked: tools.desk.commands.stepNotesText(1)
    }
}
