// SPDX-License-Identifier: GPL-3.0-or-later
// The row of strips. It scrolls sideways, but never while a finger holds a fader; strips change places while one is dragged by its
// number.
pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Controls.Basic
import Vrel.Console

ListView {
    id: list

    required property ConsoleModel desk
    property int heldFaders

    function idAt(row: int): string {
        const item = list.itemAtIndex(row) as ChannelStrip;
        return item ? item.entry.channelId : "";
    }

    // -1 for none.
    function selectedRow(): int {
        for (let row = 0; row < count; ++row) {
            if ((list.itemAtIndex(row) as ChannelStrip)?.entry.isSelected)
                return row;
        }
        return -1;
    }

    // The strip to the left or right of the selected one.
    function selectBeside(by: int): void {
        const row = selectedRow();
        const next = row < 0 ? "" : idAt(Math.max(0, Math.min(count - 1, row + by)));
        if (next !== "")
            desk.commands.selectStrip(next);
    }

    function moveSelected(by: int): void {
        desk.commands.moveChannel(idAt(selectedRow()), by);
    }

    function scrollBy(distance: real): void {
        const last = Math.max(0, contentWidth + rightMargin - width);
        contentX = originX + Math.min(last, Math.max(0, contentX - originX + distance));
    }

    // `place` is where the drag is, from the left end of what is seen.
    function dragTo(place: real): void {
        tracker.place = place;
        tracker.moveOver(idAt(tracker.rowAt(contentX - originX + Math.min(width - 1, Math.max(0, place)))));
    }

    objectName: "stripList"
    orientation: ListView.Horizontal
    clip: true
    interactive: heldFaders === 0
    boundsBehavior: Flickable.StopAtBounds
    keyNavigationEnabled: false
    cacheBuffer: 40 * Theme.strip
    model: desk.strips

    Accessible.role: Accessible.List
    Accessible.name: desk.texts.channelStrips

    ScrollBar.horizontal: ScrollBar {
        policy: list.contentWidth + list.rightMargin > list.width ? ScrollBar.AlwaysOn : ScrollBar.AlwaysOff
        height: 12
        Accessible.name: list.desk.texts.channelStrips
    }

    delegate: ChannelStrip {
        height: list.height - 14
        desk: list.desk
        isDragged: tracker.draggedId === entry.channelId
        onFaderHeld: isHeld => list.heldFaders += isHeld ? 1 : -1
        onMenuWanted: menu.openFor(entry)
        onColorWanted: colors.openFor(this, entry)
        onDragBegan: tracker.begin(entry.channelId)
        onDragMoved: x => list.dragTo(list.mapFromItem(null, x, 0).x)
        onDragEnded: tracker.end()
        onSelected: list.positionViewAtIndex(index, ListView.Contain)
        onIndexChanged: if (entry.isSelected && !tracker.isDragging) reveal.restart()
    }

    rightMargin: Theme.strip

    AddChannelButton {
        parent: list.contentItem
        x: list.originX + list.count * Theme.strip
        room: list.contentX + list.width - x
        height: list.height - 14
        desk: list.desk
    }

    move: Transition {
        NumberAnimation {
            property: "x"
            duration: 90
        }
    }
    displaced: move

    Keys.onLeftPressed: selectBeside(-1)
    Keys.onRightPressed: selectBeside(1)

    // Not as keys of the list: a knob that has the focus takes every arrow.
    Shortcut {
        sequence: "Alt+Left"
        enabled: list.activeFocus && list.desk.session.mayMoveChannels
        onActivated: list.moveSelected(-1)
    }
    Shortcut {
        sequence: "Alt+Right"
        enabled: list.activeFocus && list.desk.session.mayMoveChannels
        onActivated: list.moveSelected(1)
    }

    // Not while the rows change.
    Timer {
        id: reveal

        interval: 1
        onTriggered: {
            const row = list.selectedRow();
            if (row >= 0)
                list.positionViewAtIndex(row, ListView.Contain);
        }
    }

    ColorPanel {
        id: colors

        desk: list.desk
    }

    StripMenu {
        id: menu

        desk: list.desk
    }

    ReorderTracker {
        id: tracker

        property real place

        count: list.count
        rowLength: Theme.strip
        onBegan: id => list.desk.commands.dragChannel(id)
        onEntered: id => list.desk.commands.channelDropEntered(id)
        onExited: id => list.desk.commands.channelDropExited(id)
        onDropped: id => list.desk.commands.channelDropped(id)
    }

    // Near an end the row moves on by itself.
    Timer {
        interval: 16
        repeat: true
        running: tracker.isDragging && (tracker.place < Theme.touch || tracker.place > list.width - Theme.touch)
        onTriggered: {
            list.scrollBy(tracker.place < Theme.touch ? -12 : 12);
            list.dragTo(tracker.place);
        }
    }

    WheelHandler {
        target: null
        acceptedDevices: PointerDevice.Mouse | PointerDevice.TouchPad
        orientation: Qt.Vertical
        onWheel: event => list.scrollBy(-event.angleDelta.y)
    }
}
