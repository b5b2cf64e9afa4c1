// SPDX-License-Identifier: GPL-3.0-or-later
// The tempo as a number that can be typed over. Text that is not a number leaves the tempo as it was. In Live mode the digits are the
// field's own while it has the caret, which it drops with Return or Escape: then they are commands again.
import QtQuick
import Vrel.Console

EntryField {
    id: field

    required property ConsoleModel desk

    function commit(): void {
        if (isEditing)
            desk.commands.enterTempo(text);
        isEditing = false;
    }

    objectName: "tempoField"
    spokenName: desk.texts.tempoTitle
    hint: desk.hints.tempo
    echo: desk.session.tempoBpm
    selectsAll: true
    font.pixelSize: Theme.tempoText
    font.bold: true
    horizontalAlignment: TextInput.AlignHCenter
    inputMethodHints: Qt.ImhDigitsOnly
    leftPadding: 2
    rightPadding: 2
    onTyped: if (!activeFocus) commit()
    onActiveFocusChanged: selecting.restart()
    onAccepted: {
        commit();
        follow();
        if (desk.session.isLive)
            focus = false;
    }
    onEditingFinished: commit()
    Keys.onEscapePressed: {
        follow();
        focus = false;
    }

    // The press that brings the caret puts it somewhere; what is typed then replaces the whole number.
    Timer {
        id: selecting

        interval: 50
        onTriggered: {
            if (field.activeFocus && !field.isEditing)
                field.selectAll();
        }
    }
}
