// SPDX-License-Identifier: GPL-3.0-or-later
// A song and the program change that selects it, which can be typed over: "5", or "2:5" with a bank; nothing for none.
import QtQuick
import QtQuick.Layouts
import Vrel.Console

RowLayout {
    id: row

    required property ConsoleModel desk
    required property int index
    required property songProgramEntry modelData
    property bool mayEdit

    objectName: "songProgram" + index
    spacing: Theme.gap

    Accessible.role: Accessible.ListItem
    Accessible.name: modelData.name

    Text {
        Layout.fillWidth: true
        text: row.modelData.name
        color: Theme.ink
        font.pixelSize: Theme.bodyText
        wrapMode: Text.Wrap
        Accessible.ignored: true
    }
    EntryField {
        id: field

        function commit(): void {
            if (isEditing)
                row.desk.commands.enterSongProgram(row.modelData.songId, text);
            isEditing = false;
        }

        objectName: "songProgramField" + row.index
        Layout.preferredWidth: 92
        spokenName: row.desk.texts.songProgram + " " + row.modelData.name
        hint: row.mayEdit ? row.desk.texts.songProgram : row.desk.texts.notInLiveMode
        echo: row.modelData.program
        selectsAll: true
        readOnly: !row.mayEdit
        horizontalAlignment: TextInput.AlignHCenter
        onTyped: if (!activeFocus) commit()
        onAccepted: {
            commit();
            follow();
        }
        onEditingFinished: commit()
        Keys.onEscapePressed: {
            follow();
            focus = false;
        }
    }
}
