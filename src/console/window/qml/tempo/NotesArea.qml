// SPDX-License-Identifier: GPL-3.0-or-later
// The text of the notes. What is typed comes back late, through another thread, and must not overwrite what was typed since; but
// the notes of another song replace everything at once.
import QtQuick
import QtQuick.Controls.Basic
import Vrel.Console

TextArea {
    id: area

    required property ConsoleModel desk

    readonly property string echo: desk.session.songNotes
    readonly property bool isLive: desk.session.isLive
    readonly property int song: desk.session.selectedSongIndex
    readonly property string hint: desk.hints.notes
    property bool isEditing
    property bool isFollowing

    // Another song's notes are shown, or the mode has changed: from their beginning.
    signal turned

    function follow(): void {
        isEditing = false;
        if (text === echo)
            return;
        isFollowing = true;
        text = echo;
        isFollowing = false;
        cursorPosition = 0;
    }

    objectName: "notesArea"
    // Tab goes on through the window, as everywhere.
    Keys.onTabPressed: nextItemInFocusChain(true).forceActiveFocus(Qt.TabFocusReason)
    Keys.onBacktabPressed: nextItemInFocusChain(false).forceActiveFocus(Qt.BacktabFocusReason)
    Keys.onEscapePressed: focus = false
    color: Theme.ink
    selectionColor: Theme.teal
    selectedTextColor: Theme.darkInk
    font.pixelSize: Theme.bodyText
    wrapMode: TextEdit.Wrap
    selectByMouse: true

    Accessible.role: Accessible.EditableText
    Accessible.name: desk.texts.notesTitle
    Accessible.description: hint

    Component.onCompleted: follow()
    onEchoChanged: {
        if (!isEditing)
            follow();
    }
    onSongChanged: {
        follow();
        turned();
    }
    onIsLiveChanged: {
        if (!isLive)
            return;
        focus = false;
        cursorPosition = 0; // the page goes where the caret is
        turned();
    }
    onActiveFocusChanged: {
        if (!activeFocus)
            settle.restart();
    }
    onTextChanged: {
        if (isFollowing)
            return;
        isEditing = true;
        desk.commands.setSongNotes(text);
        if (!activeFocus) // assistive technology writes without the caret
            settle.restart();
    }

    background: Rectangle {
        color: Theme.well
        radius: Theme.radius
        border.width: area.activeFocus ? 2 : 1
        border.color: area.activeFocus ? Theme.teal : Theme.line
    }

    Hint {
        over: area
        text: area.activeFocus ? "" : area.hint // not over what is being written
    }

    // The last letter's echo is still on its way when the caret leaves.
    Timer {
        id: settle

        interval: 300
        onTriggered: {
            if (!area.activeFocus)
                area.follow();
        }
    }
}
