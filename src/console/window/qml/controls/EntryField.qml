// SPDX-License-Identifier: GPL-3.0-or-later
// A line of text that the logic owns. It follows `echo` except while a person types in it: what is typed comes back late, through
// another thread, and must not overwrite what was typed since.
import QtQuick
import QtQuick.Controls.Basic
import Vrel.Console

TextField {
    id: field

    required property string spokenName
    property string hint
    property string echo
    property bool followsEcho: true
    property bool isEditing
    property bool isFollowing
    property bool selectsAll

    signal typed(string text)

    function follow(): void {
        isEditing = false;
        if (followsEcho && text !== echo) {
            isFollowing = true;
            text = echo;
            isFollowing = false;
            cursorPosition = 0;
        }
        if (selectsAll && activeFocus)
            selectAll();
    }

    implicitHeight: Theme.touch
    leftPadding: Theme.gap
    rightPadding: Theme.gap
    color: Theme.ink
    placeholderTextColor: Theme.quietInk
    selectionColor: Theme.teal
    selectedTextColor: Theme.darkInk
    font.pixelSize: Theme.bodyText
    selectByMouse: true
    autoScroll: activeFocus
    activeFocusOnPress: !readOnly
    verticalAlignment: TextInput.AlignVCenter

    Accessible.role: Accessible.EditableText
    Accessible.name: spokenName
    Accessible.description: hint
    Accessible.onPressAction: if (!readOnly) accepted() // as Return

    Component.onCompleted: follow()
    onEchoChanged: if (!isEditing) follow()
    onReadOnlyChanged: if (readOnly) focus = false
    // Assistive technology writes without the caret.
    onTextChanged: {
        if (isFollowing)
            return;
        isEditing = true;
        typed(text);
        if (!activeFocus)
            settle.restart();
    }
    onActiveFocusChanged: {
        if (activeFocus && readOnly) {
            focus = false; // a menu that closes would return the caret
        } else if (activeFocus && selectsAll) {
            selectAll();
        } else if (!activeFocus) {
            cursorPosition = 0;
            settle.restart();
        }
    }

    background: Field {
        color: Theme.well
        border.width: field.activeFocus ? 2 : 1
        border.color: field.activeFocus ? Theme.teal : Theme.line
    }

    // The last letter's echo is still on its way when the caret leaves.
    Timer {
        id: settle

        interval: 300
        onTriggered: if (!field.activeFocus) field.follow()
    }

    Hint {
        over: field
        text: field.hint
    }
}
