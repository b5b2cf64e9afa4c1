// SPDX-License-Identifier: GPL-3.0-or-later
// The value of a control in words. A press turns it into a field; Return and leaving it take what was typed, Escape does not.
import QtQuick
import QtQuick.Controls.Basic
import Vrel.Console

Item {
    id: reading

    required property string spokenName
    required property string valueText
    property bool isReadOnly
    property bool isEditing
    property string offeredText // what the field began with: rounded, so it must not be taken as typed
    property string hint

    signal entered(string text)

    function edit(): void {
        if (isReadOnly)
            return;
        offeredText = valueText;
        field.text = offeredText;
        isEditing = true;
        field.forceActiveFocus(Qt.OtherFocusReason);
        field.selectAll();
    }

    function commit(): void {
        if (!isEditing)
            return;
        isEditing = false;
        if (field.text !== offeredText)
            entered(field.text);
    }

    function finish(isTaken: bool): void {
        if (isTaken)
            commit();
        isEditing = false;
        reading.forceActiveFocus(Qt.OtherFocusReason);
    }

    activeFocusOnTab: !isReadOnly
    Keys.onReturnPressed: edit()
    Keys.onEnterPressed: edit()

    Accessible.role: isReadOnly ? Accessible.StaticText : Accessible.Button
    Accessible.name: spokenName + " " + valueText
    Accessible.description: isReadOnly ? "" : hint
    Accessible.onPressAction: reading.edit()

    Rectangle {
        anchors.fill: parent
        visible: !reading.isReadOnly
        color: Theme.badge
        radius: 3
        border.width: reading.activeFocus || reading.isEditing ? 2 : 1
        border.color: reading.activeFocus ? Theme.teal : reading.isEditing ? Theme.badgeEdited : Theme.badgeEdge
    }

    Text {
        anchors.fill: parent
        visible: !reading.isEditing
        text: reading.valueText
        color: reading.isReadOnly ? Theme.readingInk : Theme.ink
        font.pixelSize: Theme.smallText
        fontSizeMode: Text.Fit
        minimumPixelSize: Theme.tinyText
        elide: Text.ElideRight
        horizontalAlignment: Text.AlignHCenter
        verticalAlignment: Text.AlignVCenter
        Accessible.ignored: true
    }

    MouseArea {
        anchors.fill: parent
        enabled: !reading.isReadOnly && !reading.isEditing
        onClicked: reading.edit()
    }

    TextField {
        id: field

        objectName: reading.objectName + "Field"
        anchors.fill: parent
        visible: reading.isEditing
        padding: 0
        color: Theme.ink
        selectionColor: Theme.teal
        selectedTextColor: Theme.darkInk
        font.pixelSize: Theme.smallText
        horizontalAlignment: TextInput.AlignHCenter
        verticalAlignment: TextInput.AlignVCenter
        background: null
        Accessible.name: reading.spokenName
        Accessible.role: Accessible.EditableText
        onActiveFocusChanged: if (!activeFocus) reading.commit()
        Keys.onReturnPressed: reading.finish(true)
        Keys.onEnterPressed: reading.finish(true)
        Keys.onEscapePressed: reading.finish(false)
    }

    Hint {
        over: reading
        text: reading.isReadOnly || reading.isEditing ? "" : reading.hint
    }
}
