// SPDX-License-Identifier: GPL-3.0-or-later
// Names a preset that is to be saved. A name that the user has given already needs the press on the button.
import QtQuick
import QtQuick.Layouts
import Vrel.Console

RowLayout {
    id: naming

    required property ConsoleModel desk
    required property EditorViewModel entry

    readonly property string wanted: field.text.trim()
    readonly property bool isTaken: entry.ownPresetNames.includes(wanted)

    signal finished

    function save(): void {
        desk.plugins.savePreset(entry.editorId, wanted, isTaken);
        finished();
    }

    spacing: Theme.gap
    onVisibleChanged: if (visible) {
        field.text = entry.presetName;
        field.forceActiveFocus(Qt.OtherFocusReason);
        field.selectAll();
    }

    EntryField {
        id: field

        objectName: "presetNameField"
        Layout.fillWidth: true
        followsEcho: false
        maximumLength: 60
        placeholderText: naming.desk.texts.presetName
        spokenName: placeholderText
        hint: placeholderText
        onAccepted: if (naming.wanted !== "" && !naming.isTaken) naming.save()
        Keys.onEscapePressed: naming.finished()
    }
    PushButton {
        objectName: "confirmPreset"
        text: naming.isTaken ? naming.desk.texts.replacePreset : "\u2713"
        spokenName: naming.isTaken ? naming.desk.texts.replacePreset : naming.desk.texts.savePreset
        hint: spokenName
        isOffered: naming.wanted !== ""
        fill: naming.isTaken ? Theme.warning : Theme.teal
        onClicked: naming.save()
    }
}
