// SPDX-License-Identifier: GPL-3.0-or-later
// The presets of a plug-in: the one that is loaded, those before and behind it, and what saves and deletes the user's own. The
// arrow keys go through them while the name has the focus.
pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Layouts
import Vrel.Console

ColumnLayout {
    id: bar

    required property ConsoleModel desk
    required property EditorViewModel entry
    property bool isListOpen
    property bool isNaming

    readonly property bool isNamed: entry.presetName !== ""
    readonly property TextsViewModel texts: desk.texts

    function step(rowCount: int): void {
        desk.plugins.stepPreset(entry.editorId, rowCount);
    }

    spacing: Theme.gap

    RowLayout {
        Layout.fillWidth: true
        spacing: Theme.gap

        PushButton {
            objectName: "previousPreset"
            text: "\u25c2"
            spokenName: bar.texts.previousPreset
            hint: spokenName
            isOffered: bar.entry.presets.length > 0
            onClicked: bar.step(-1)
        }
        PushButton {
            objectName: "presetName"
            Layout.fillWidth: true
            text: (bar.isNamed ? bar.entry.presetName : bar.texts.noPreset) + (bar.entry.isPresetChanged ? " \u25cf" : "") + "  \u25be"
            spokenName: bar.isNamed ? bar.entry.presetName + (bar.entry.isPresetChanged ? ", " + bar.texts.presetChanged : "") : bar.texts.noPreset
            hint: bar.texts.choosePreset
            Accessible.checkable: true
            Accessible.checked: bar.isListOpen
            fill: bar.isListOpen ? Theme.teal : Theme.well
            Keys.onUpPressed: bar.step(-1)
            Keys.onDownPressed: bar.step(1)
            Keys.onLeftPressed: bar.step(-1)
            Keys.onRightPressed: bar.step(1)
            onClicked: {
                bar.isListOpen = !bar.isListOpen;
                forceActiveFocus(Qt.MouseFocusReason);
            }
        }
        PushButton {
            objectName: "nextPreset"
            text: "\u25b8"
            spokenName: bar.texts.nextPreset
            hint: spokenName
            isOffered: bar.entry.presets.length > 0
            onClicked: bar.step(1)
        }
        PushButton {
            objectName: "savePreset"
            text: "+"
            textSize: Theme.strongText
            spokenName: bar.texts.savePreset
            hint: bar.entry.maySavePreset ? spokenName : bar.desk.hints.notInLiveMode
            isOffered: bar.entry.maySavePreset
            Accessible.checkable: true
            Accessible.checked: bar.isNaming
            fill: bar.isNaming ? Theme.teal : Theme.raised
            onClicked: bar.isNaming = !bar.isNaming
        }
        PushButton {
            id: remove

            property bool isAsking

            objectName: "deletePreset"
            visible: bar.entry.isOwnPreset
            text: isAsking ? "\u2715 ?" : "\u2715"
            spokenName: isAsking ? bar.texts.reallyDelete : bar.texts.deletePreset
            hint: bar.entry.maySavePreset ? spokenName : bar.desk.hints.notInLiveMode
            isOffered: bar.entry.maySavePreset
            fill: isAsking ? Theme.muteLit : Theme.raised
            onVisibleChanged: isAsking = false
            onActiveFocusChanged: if (!activeFocus) isAsking = false
            onClicked: {
                forceActiveFocus(Qt.MouseFocusReason);
                if (isAsking)
                    bar.desk.plugins.deletePreset(bar.entry.editorId);
                isAsking = !isAsking;
            }
        }
    }

    PresetNaming {
        Layout.fillWidth: true
        visible: bar.isNaming && bar.entry.maySavePreset
        desk: bar.desk
        entry: bar.entry
        onFinished: bar.isNaming = false
    }

    Text {
        objectName: "presetProblem"
        Layout.fillWidth: true
        visible: text !== ""
        text: bar.entry.presetProblem
        color: Theme.warning
        font.pixelSize: Theme.smallText
        wrapMode: Text.Wrap
        Accessible.role: Accessible.AlertMessage
        Accessible.name: text
    }
}
