// SPDX-License-Identifier: GPL-3.0-or-later
// Puts one more song at the end of the setlist.
import QtQuick
import QtQuick.Layouts
import Vrel.Console

RowLayout {
    id: row

    required property ConsoleModel desk

    signal added

    function add(): void {
        if (name.text === "")
            return;
        added();
        desk.commands.addSong(name.text);
        name.clear();
    }

    spacing: Theme.gap

    EntryField {
        id: name

        objectName: "newSongField"
        Layout.fillWidth: true
        spokenName: row.desk.texts.addSong
        hint: row.desk.hints.newSongName
        placeholderText: row.desk.texts.addSong
        readOnly: !row.desk.session.mayTypeText
        followsEcho: false
        onAccepted: row.add()
    }
    PushButton {
        objectName: "addSongButton"
        Layout.preferredWidth: 48
        text: "+"
        isOffered: name.text !== ""
        hint: isOffered ? row.desk.hints.addSong : row.desk.hints.newSongName
        spokenName: row.desk.texts.addSong
        textSize: 28
        onClicked: row.add()
    }
}
