// SPDX-License-Identifier: GPL-3.0-or-later
// Takes the presses on all rows of songs: a click, a double click, a menu, and the drag of a song. It is one area beside the rows, so
// that a drag outlives a row that scrolls away. A finger drags by the handle only: elsewhere it scrolls the list.
import QtQuick
import Vrel.Console

MouseArea {
    id: area

    required property ListView list
    required property ReorderTracker tracker
    required property string editedId // of the song whose name is a field; empty for none

    readonly property real edge: Theme.song / 2
    readonly property int scrollStep: mouseY < edge ? -12 : mouseY > height - edge ? 12 : 0
    readonly property int hoveredRow: containsMouse ? rowUnder(mouseY) : -1
    property real pressedAt
    property int pressedRow: -1
    property bool mayDrag
    property bool wasDragged

    signal taken(int row)
    signal movedOver(int row)
    signal acted(int row)
    signal renameWanted(int row)
    signal menuWanted(int row)

    // -1 behind the last.
    function rowUnder(y: real): int {
        const place = list.contentY - list.originY + y;
        return place < list.contentHeight ? tracker.rowAt(place) : -1;
    }

    // By the song: others may have been moved past its field.
    function isEdited(row: int): bool {
        return editedId !== "" && (list.itemAtIndex(row) as SongRow)?.entry.songId === editedId;
    }

    function follow(): void {
        movedOver(tracker.rowAt(list.contentY - list.originY + Math.min(height - 1, Math.max(0, mouseY))));
    }

    function release(): void {
        pressedRow = -1;
        tracker.end();
    }

    parent: list
    width: list.width - 16
    height: list.height
    z: 2
    acceptedButtons: Qt.LeftButton | Qt.RightButton
    hoverEnabled: true
    preventStealing: mayDrag
    enabled: list.count > 0
    cursorShape: tracker.isDragging ? Qt.ClosedHandCursor : mouseX < Theme.handle ? Qt.OpenHandCursor : Qt.ArrowCursor

    onPressed: mouse => {
        pressedRow = rowUnder(mouse.y);
        if (pressedRow < 0 || (isEdited(pressedRow) && mouse.x >= Theme.handle)) {
            mouse.accepted = false;
            return;
        }
        forceActiveFocus(Qt.MouseFocusReason);
        pressedAt = mouse.y;
        mayDrag = mouse.button === Qt.LeftButton && (mouse.x < Theme.handle || mouse.source === Qt.MouseEventNotSynthesized);
    }
    onPositionChanged: {
        if (!pressed)
            return;
        if (!tracker.isDragging && mayDrag && pressedRow >= 0 && Math.abs(mouseY - pressedAt) >= Theme.dragDistance)
            taken(pressedRow);
        if (tracker.isDragging)
            follow();
    }
    onReleased: {
        wasDragged = tracker.isDragging;
        release();
    }
    onCanceled: release()
    onClicked: mouse => {
        const row = rowUnder(mouse.y);
        if (wasDragged || row < 0)
            return;
        if (mouse.button === Qt.RightButton)
            menuWanted(row);
        else
            acted(row);
    }
    onDoubleClicked: mouse => {
        const row = rowUnder(mouse.y);
        if (mouse.button === Qt.LeftButton && row >= 0)
            renameWanted(row);
    }
    onPressAndHold: mouse => {
        if (!tracker.isDragging)
            menuWanted(rowUnder(mouse.y));
    }

    // Near an end the list moves on by itself.
    Timer {
        interval: 16
        repeat: true
        running: area.tracker.isDragging && area.scrollStep !== 0
        onTriggered: {
            const last = Math.max(0, area.list.contentHeight - area.list.height);
            area.list.contentY = area.list.originY + Math.min(last, Math.max(0, area.list.contentY - area.list.originY + area.scrollStep));
            area.follow();
        }
    }
}
