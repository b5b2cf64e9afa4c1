// SPDX-License-Identifier: GPL-3.0-or-later
// The rows of the songs, and the drag that puts them in another order. The order changes while the drag passes over rows; the
// drop itself only ends it.
pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Controls.Basic
import Vrel.Console

ListView {
    id: list

    required property ConsoleModel desk

    readonly property int selected: desk.session.selectedSongIndex
    property int cursor: Math.max(0, selected) // the row that the keys act on
    property bool awaitsSong // the performer has added one, which must come into sight
    property bool awaitsMove // by a key; the cursor stays on its song, whichever is on stage

    function idAt(row: int): string {
        const item = list.itemAtIndex(row) as SongRow;
        return item ? item.entry.songId : "";
    }

    function showMenu(row: int): void {
        const item = list.itemAtIndex(row) as SongRow;
        if (item)
            menu.openFor(item.entry, row);
    }

    function rename(row: int): void {
        if (desk.session.mayRenameSong)
            desk.commands.beginSongRename(idAt(row));
    }

    // The name that is being changed passes on the Return that ends it.
    function choose(): void {
        if (desk.session.editingSongId === "")
            desk.commands.clickSong(idAt(cursor));
    }

    function moveCursor(by: int): void {
        cursor = Math.max(0, Math.min(count - 1, cursor + by));
        positionViewAtIndex(cursor, ListView.Contain);
    }

    function moveSong(by: int): void {
        if (cursor + by < 0 || cursor + by >= count)
            return;
        awaitsMove = true;
        desk.commands.moveSong(idAt(cursor), by);
    }

    function showSelected(): void {
        if (selected < 0 || selected >= count || tracker.isDragging)
            return;
        // The songs before and after it are in sight, too.
        positionViewAtIndex(Math.max(0, selected - 1), ListView.Contain);
        positionViewAtIndex(Math.min(count - 1, selected + 1), ListView.Contain);
        positionViewAtIndex(selected, ListView.Contain);
    }

    objectName: "songList"
    activeFocusOnTab: true
    clip: true
    model: desk.songs
    boundsBehavior: Flickable.StopAtBounds
    keyNavigationEnabled: false
    onSelectedChanged: {
        if (awaitsMove)
            return;
        cursor = Math.max(0, selected);
        showSelected();
    }
    onCountChanged: {
        if (awaitsSong)
            positionViewAtEnd();
        else
            showSelected();
        awaitsSong = false;
    }
    onHeightChanged: showSelected()

    Accessible.role: Accessible.List
    Accessible.name: desk.texts.setlist

    Keys.onUpPressed: event => event.modifiers & Qt.AltModifier ? moveSong(-1) : moveCursor(-1)
    Keys.onDownPressed: event => event.modifiers & Qt.AltModifier ? moveSong(1) : moveCursor(1)
    Keys.onReturnPressed: choose()
    Keys.onEnterPressed: choose()
    Keys.onMenuPressed: showMenu(cursor)
    Keys.onPressed: event => {
        if (event.key === Qt.Key_F2)
            rename(cursor);
        else if (event.key === Qt.Key_F10 && (event.modifiers & Qt.ShiftModifier))
            showMenu(cursor);
        else
            return;
        event.accepted = true;
    }

    // Each is of one row, which goes up.
    Connections {
        target: list.desk.songs
        function onRowsMoved(parent: var, start: int, end: int, destination: var, row: int): void {
            if (!list.awaitsMove)
                return;
            list.awaitsMove = false;
            list.cursor = list.cursor === start ? row : list.cursor >= row && list.cursor < start ? list.cursor + 1 : list.cursor;
            list.moveCursor(0);
        }
    }

    ScrollBar.vertical: ScrollBar {
        policy: list.contentHeight > list.height ? ScrollBar.AlwaysOn : ScrollBar.AlwaysOff
        width: 14
        Accessible.name: list.desk.texts.setlist
    }

    delegate: SongRow {
        width: list.width - 16
        desk: list.desk
        isDragged: tracker.draggedId === entry.songId
        isHovered: presses.hoveredRow === index
        hasCursor: list.activeFocus && list.cursor === index
    }

    move: Transition {
        NumberAnimation {
            property: "y"
            duration: 90
        }
    }
    displaced: move

    SongMenu {
        id: menu

        desk: list.desk
        onClosed: list.forceActiveFocus(Qt.PopupFocusReason)
    }

    Text {
        anchors.fill: parent
        visible: list.count === 0
        text: list.desk.texts.noSongs
        color: Theme.quietInk
        font.pixelSize: Theme.strongText
        wrapMode: Text.WordWrap
        horizontalAlignment: Text.AlignHCenter
        verticalAlignment: Text.AlignVCenter
    }

    ReorderTracker {
        id: tracker

        count: list.count
        rowLength: Theme.song
        onBegan: id => list.desk.commands.dragSong(id)
        onEntered: id => list.desk.commands.songDropEntered(id)
        onExited: id => list.desk.commands.songDropExited(id)
        onDropped: id => list.desk.commands.songDropped(id)
    }

    LiftedSong {
        parent: list
        visible: tracker.isDragging
        name: tracker.draggedName
        y: Math.max(0, Math.min(list.height - height, presses.mouseY - height / 2))
        width: list.width - 16
    }

    // The area over the rows is what the pointer rests on.
    Hint {
        over: presses
        isOver: presses.hoveredRow >= 0 && !presses.isEdited(presses.hoveredRow)
        text: tracker.isDragging ? "" : list.desk.hints.songRow
    }

    SongDragArea {
        id: presses

        list: list
        tracker: tracker
        editedId: list.desk.session.editingSongId
        onActed: row => list.desk.commands.clickSong(list.idAt(row))
        onRenameWanted: row => list.rename(row)
        onMenuWanted: row => list.showMenu(row)
        onTaken: row => {
            tracker.draggedName = (list.itemAtIndex(row) as SongRow)?.entry.name ?? "";
            tracker.begin(list.idAt(row));
        }
        onMovedOver: row => tracker.moveOver(list.idAt(row))
    }
}
