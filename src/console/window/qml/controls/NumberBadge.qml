// SPDX-License-Identifier: GPL-3.0-or-later
// A whole number that a double click turns into a field. Return and leaving it take what was typed, Escape does not. In Live mode the
// digits are the field's own while it has the caret.
import QtQuick
import QtQuick.Controls.Basic
import Vrel.Console

Item {
    id: badge

    required property string spokenName
    required property int echo // of the logic
    required property int minimumValue
    required property int maximumValue
    property int value: echo // what assistive technology reads and writes
    required property string valueText
    property string hint

    property bool isEditing

    signal entered(string draft)
    signal stepped(int by)

    function edit(): void {
        field.text = echo;
        isEditing = true;
        field.forceActiveFocus(Qt.OtherFocusReason);
        field.selectAll();
    }

    function commit(): void {
        if (!isEditing)
            return;
        isEditing = false;
        entered(field.text);
    }

    function submit(): void {
        commit();
        badge.forceActiveFocus(Qt.OtherFocusReason);
    }

    function cancel(): void {
        isEditing = false;
        badge.forceActiveFocus(Qt.OtherFocusReason);
    }

    implicitWidth: 44
    implicitHeight: Theme.row
    activeFocusOnTab: true
    onValueChanged: {
        if (value === echo)
            return;
        const wanted = value;
        value = Qt.binding(() => echo);
        stepped(wanted - echo);
    }

    Accessible.role: Accessible.SpinBox
    Accessible.name: spokenName
    Accessible.description: valueText + ". " + hint
    Accessible.focusable: true
    Accessible.onPressAction: badge.edit()
    Accessible.onIncreaseAction: badge.stepped(1)
    Accessible.onDecreaseAction: badge.stepped(-1)

    // The field passes them on.
    Keys.onUpPressed: if (!isEditing) stepped(1)
    Keys.onDownPressed: if (!isEditing) stepped(-1)
    Keys.onReturnPressed: edit()
    Keys.onEnterPressed: edit()

    Field {
        anchors.fill: parent
        color: Theme.badge
        radius: 3
        border.width: badge.activeFocus || badge.isEditing ? 2 : 1
        border.color: badge.activeFocus ? Theme.teal : badge.isEditing ? Theme.badgeEdited : Theme.badgeEdge
    }

    Text {
        anchors.fill: parent
        visible: !badge.isEditing
        text: badge.valueText
        color: Theme.ink
        font.pixelSize: Theme.tinyText
        font.bold: true
        horizontalAlignment: Text.AlignHCenter
        verticalAlignment: Text.AlignVCenter
        Accessible.ignored: true
    }

    MouseArea {
        anchors.fill: parent
        visible: !badge.isEditing
        onPressed: badge.forceActiveFocus(Qt.MouseFocusReason)
        onDoubleClicked: badge.edit()
    }

    TextField {
        id: field

        objectName: badge.objectName + "Field"
        anchors.fill: parent
        visible: badge.isEditing
        padding: 0
        color: Theme.ink
        selectionColor: Theme.teal
        selectedTextColor: Theme.darkInk
        font.pixelSize: Theme.tinyText
        font.bold: true
        horizontalAlignment: TextInput.AlignHCenter
        verticalAlignment: TextInput.AlignVCenter
        background: null
        inputMethodHints: Qt.ImhDigitsOnly
        Accessible.name: badge.spokenName
        Accessible.role: Accessible.EditableText
        onActiveFocusChanged: if (!activeFocus) badge.commit()
        // Not passed on: the badge would open the field again.
        Keys.onReturnPressed: badge.submit()
        Keys.onEnterPressed: badge.submit()
        Keys.onEscapePressed: badge.cancel()
    }

    Hint {
        over: badge
        text: badge.hint
    }
}
