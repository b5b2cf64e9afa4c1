// SPDX-License-Identifier: GPL-3.0-or-later
// The large notes over the console. Panic, banner and header stay in sight.
import QtQuick
import QtQuick.Layouts
import Vrel.Console

ChoicePanel {
    id: page

    required property string consoleDisplay

    function takeFocus(): void {
        notes.forceActiveFocus(Qt.PopupFocusReason);
    }

    objectName: "largeNotesPage"
    title: desk.texts.notesTitle
    owner: desk.session.stageSong
    color: Theme.teal
    tools: LargeNotesTools {
        desk: page.desk
        consoleDisplay: page.consoleDisplay
    }
    onClosed: desk.commands.toggleLargeNotes()
    onOpened: takeFocus()

    LargeNotesText {
        id: notes

        Layout.fillWidth: true
        Layout.fillHeight: true
        desk: page.desk
    }
}
