// SPDX-License-Identifier: GPL-3.0-or-later
// Drags songs by their handles. It is one area beside all rows, so that a drag outlives a row that scrolls away.
import QtQuick
import Vrel.Console

MouseArea {
    id: area

    required property ListView list
    required property ReorderTracker tracker

    readonly property real edge: Theme.song / 2
    readonly property int scrollStep: mouseY < edge ? -12 : mouseY > height - edge ? 12 : 0
    property real pressedAt
    property int pressedRow: -1

    signal taken(int row)
    signal movedOver(int row)

    function follow(): void {
        movedOver(tracker.rowAt(list.contentY - list.originY + Math.min(height - 1, Math.max(0, mouseY))));
    }

    function release(): void {
        pressedRow = -1;
        tracker.end();
    }

    parent: list
    width: Theme.handle
    height: list.height
    z: 2
    preventStealing: true
    enabled: list.count > 0
    cursorShape: tracker.isDragging ? Qt.ClosedHandCursor : Qt.OpenHandCursor

    onPressed: mouse => {
        const place = list.contentY - list.originY + mouse.y;
        pressedRow = place < list.contentHeight ? tracker.rowAt(place) : -1;
        pressedAt = mouse.y;
        mouse.accepted = pressedRow >= 0;
    }
    onPositionChanged: {
        if (!tracker.isDragging && pressedRow >= 0 && Math.abs(mouseY - pressedAt) >= Theme.dragDistance)
            taken(pressedRow);
        if (tracker.isDragging)
            follow();
    }
    onReleased: release()
    onCanceled: release()

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
