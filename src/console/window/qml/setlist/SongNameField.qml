// SPDX-License-Identifier: GPL-3.0-or-later
// The name of a song while it is being changed. Return ends it, or a click on a row; losing the caret does not.
import QtQuick
import Vrel.Console

EntryField {
    id: field

    required property ConsoleModel desk

    objectName: "songNameField"
    enabled: desk.session.mayRenameSong
    spokenName: desk.texts.renameSong
    hint: desk.hints.songName
    placeholderText: "Nombre de canción"
    echo: desk.session.songNameDraft
    selectsAll: true
    font.pixelSize: Theme.strongText
    onTyped: text => desk.commands.setSongNameDraft(text)
    onAccepted: desk.commands.commitSongRename()
    Component.onCompleted: {
        forceActiveFocus(Qt.OtherFocusReason);
        follow();
    }
}
