// SPDX-License-Identifier: GPL-3.0-or-later
// One effect of a rack: its name, its place in the chain, and what can be done with it. A frame marks the one that the next choice
// replaces.
import QtQuick
import QtQuick.Layouts
import Vrel.Console

Field {
    id: row

    required property ConsoleModel desk
    required property RackViewModel rack
    required property int count
    required property int index
    required property rackSlot modelData

    readonly property bool isReplaced: rack.replacedSlotId !== "" && rack.replacedSlotId === modelData.slotId
    readonly property bool mayChange: rack.mayChange

    function hintOf(words: string): string {
        return mayChange ? words : desk.texts.notInLiveMode;
    }

    objectName: "rackEffect" + index
    implicitHeight: modelData.hasFailed ? Theme.touch + 44 : Theme.touch
    color: modelData.hasFailed ? Theme.failed : Theme.raised
    border.width: isReplaced || modelData.hasFailed ? 2 : 0
    border.color: isReplaced ? Theme.teal : Theme.panic

    Accessible.role: Accessible.ListItem
    Accessible.name: modelData.name
    Accessible.description: modelData.hasFailed ? failure.reason : ""

    RowLayout {
        width: parent.width
        height: Theme.touch
        spacing: 2

        DragGlyph {
            Layout.leftMargin: 6
            Layout.alignment: Qt.AlignVCenter
        }
        PushButton {
            objectName: "openEffect" + row.index
            padding: 2
            Layout.fillWidth: true
            Layout.fillHeight: true
            text: row.modelData.name
            spokenName: row.desk.texts.openEffect + " " + row.modelData.name
            fill: "transparent"
            edge: "transparent"
            ink: row.modelData.isMissing ? Theme.warning : Theme.ink
            opacity: 1 // the name is read, whether it opens a window or not
            isOffered: !row.modelData.isMissing
            hint: row.desk.texts.openEffect
            onClicked: row.desk.plugins.toggleEffect(row.modelData.slotId)
            Keys.onMenuPressed: if (isOffered) menu.popup()

            TapHandler {
                acceptedButtons: Qt.RightButton
                enabled: !row.modelData.isMissing
                onTapped: menu.popup()
            }

            PopupMenu {
                id: menu

                PopupEntry {
                    objectName: "openEffectWindow"
                    text: row.desk.texts.openEffect
                    hint: text
                    onTriggered: row.desk.plugins.toggleEffect(row.modelData.slotId)
                }
                PopupEntry {
                    objectName: "openEffectControls"
                    text: row.desk.hints.openControls
                    hint: text
                    onTriggered: row.desk.plugins.toggleEffectControls(row.modelData.slotId)
                }
            }
        }
        PushButton {
            objectName: "replaceEffect" + row.index
            implicitWidth: 28
            text: "\u21c4"
            spokenName: row.desk.texts.replaceEffect + " " + row.modelData.name
            hint: row.hintOf(row.desk.texts.replaceEffect)
            Accessible.checkable: true
            Accessible.checked: row.isReplaced
            isOffered: row.mayChange
            onClicked: row.desk.commands.toggleReplacedEffect(row.modelData.slotId)
        }
        PushButton {
            objectName: "effectUp" + row.index
            implicitWidth: 28
            text: "\u25b2"
            spokenName: row.desk.texts.moveEffectUp + " " + row.modelData.name
            hint: row.hintOf(row.desk.texts.moveEffectUp)
            isOffered: row.mayChange && row.index > 0
            onClicked: row.desk.commands.moveEffectUp(row.modelData.slotId)
        }
        PushButton {
            objectName: "effectDown" + row.index
            implicitWidth: 28
            text: "\u25bc"
            spokenName: row.desk.texts.moveEffectDown + " " + row.modelData.name
            hint: row.hintOf(row.desk.texts.moveEffectDown)
            isOffered: row.mayChange && row.index < row.count - 1
            onClicked: row.desk.commands.moveEffectDown(row.modelData.slotId)
        }
        PushButton {
            objectName: "removeEffect" + row.index
            implicitWidth: 28
            spokenName: row.desk.texts.removeEffect + " " + row.modelData.name
            hint: row.hintOf(row.desk.texts.removeEffect)
            isOffered: row.mayChange
            onClicked: row.desk.commands.removeEffect(row.modelData.slotId)

            MenuIcon {
                anchors.centerIn: parent
                symbol: "trash"
                color: Theme.ink
            }
        }
    }

    FailedEffect {
        id: failure

        y: Theme.touch + 2
        x: 34
        width: parent.width - x - 4
        height: 38
        visible: row.modelData.hasFailed
        desk: row.desk
        index: row.index
        effect: row.modelData
    }
}
