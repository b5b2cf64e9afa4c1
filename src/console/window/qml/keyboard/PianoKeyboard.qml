// SPDX-License-Identifier: GPL-3.0-or-later
// The keys, and above them the bars of the strips' splits. What is wider or higher than its room scrolls.
import QtQuick
import QtQuick.Controls.Basic
import Vrel.Console

Flickable {
    id: keyboard

    required property ConsoleModel desk
    property bool isFolded

    objectName: "pianoKeyboard"
    contentWidth: Math.max(width, keys.implicitWidth)
    contentHeight: height
    interactive: false // a drag plays
    clip: true

    // One that is not needed would still take the presses on the keys below it.
    ScrollBar.horizontal: ScrollBar {
        visible: keyboard.contentWidth > keyboard.width
    }

    Flickable {
        id: rows

        readonly property real selected: band.selectedY

        // The selected strip's row, whose handles are wanted, and no space below the last one.
        function reveal(): void {
            const margin = Math.min(8, height / 2);
            const wanted = selected < 0 ? contentY : Math.max(selected + margin - height, Math.min(contentY, selected - margin));
            contentY = Math.max(0, Math.min(wanted, contentHeight - height));
        }

        width: keyboard.contentWidth
        height: Math.max(16, keyboard.height - (keyboard.isFolded ? 0 : keys.implicitHeight))
        contentHeight: band.implicitHeight
        interactive: false // a drag moves a split
        clip: true
        onContentHeightChanged: reveal()
        onHeightChanged: reveal()
        onSelectedChanged: reveal()

        ScrollBar.vertical: ScrollBar {
            visible: rows.contentHeight > rows.height
        }

        WheelHandler {
            onWheel: event => {
                const last = Math.max(0, rows.contentHeight - rows.height);
                rows.contentY = Math.min(last, Math.max(0, rows.contentY - event.angleDelta.y / 5));
            }
        }

        SplitBand {
            id: band

            objectName: "splitBand"
            width: rows.width
            height: Math.max(implicitHeight, rows.height)
            strips: keyboard.desk.strips
            startNote: keyboard.desk.session.keyboardStartNote
            keyCount: keyboard.desk.session.keyboardKeyCount
            viewWidth: keyboard.width
            onChosen: channelId => keyboard.desk.commands.selectStrip(channelId)
            onMinDragged: (channelId, note) => keyboard.desk.commands.setSplitMin(channelId, note)
            onMaxDragged: (channelId, note) => keyboard.desk.commands.setSplitMax(channelId, note)
            Accessible.role: Accessible.Canvas
            Accessible.name: keyboard.desk.texts.splitTranspose
            Accessible.description: keyboard.desk.hints.splitBand

            Hint {
                over: band
                text: keyboard.desk.hints.splitBand
            }
        }
    }

    PianoKeys {
        id: keys

        objectName: "pianoKeys"
        y: keyboard.height - height
        width: implicitWidth
        height: implicitHeight
        visible: !keyboard.isFolded
        strips: keyboard.desk.strips
        board: keyboard.desk.performance
        startNote: keyboard.desk.session.keyboardStartNote
        keyCount: keyboard.desk.session.keyboardKeyCount
        viewWidth: keyboard.width
        onNotePressed: note => keyboard.desk.commands.pressNote(note)
        onNoteReleased: note => keyboard.desk.commands.releaseNote(note)
        Accessible.role: Accessible.Canvas
        Accessible.name: keyboard.desk.texts.keyboard
        Accessible.description: keyboard.desk.performance.heldNotes || keyboard.desk.hints.playKeys
        Accessible.focusable: true

        Hint {
            over: keys
            text: keyboard.desk.hints.playKeys
        }
    }
}
