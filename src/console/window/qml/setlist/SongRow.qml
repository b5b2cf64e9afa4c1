// SPDX-License-Identifier: GPL-3.0-or-later
// One song: its handle and its name.
import QtQuick
import Vrel.Console

Field {
    id: row

    required property ConsoleModel desk
    required property SongViewModel entry
    required property int index
    property bool isDragged
    property bool isHovered
    property bool hasCursor

    readonly property bool isSelected: index === desk.session.selectedSongIndex
    readonly property bool isEdited: entry.songId === desk.session.editingSongId
    readonly property color ink: isSelected ? Theme.inkOn(Theme.accent) : Theme.ink

    function showEditor(): void {
        if (isEdited)
            editor.setSource(Qt.resolvedUrl("SongNameField.qml"), {
                "desk": desk
            });
        else
            editor.setSource("");
    }

    function act(): void {
        desk.commands.clickSong(entry.songId);
    }

    objectName: "songRow" + index
    onIsEditedChanged: showEditor()
    Component.onCompleted: showEditor()
    height: Theme.song
    opacity: isDragged ? 0.25 : 1 // its place; the row itself is in the hand
    color: isSelected ? Theme.accent : isHovered ? Theme.raised : "transparent"
    border.width: hasCursor ? 3 : 0
    border.color: Theme.teal

    Accessible.role: Accessible.ListItem
    Accessible.name: entry.name
    Accessible.description: desk.hints.songRow
    Accessible.selected: isSelected
    Accessible.selectable: true
    Accessible.onPressAction: act()

    MirrorRef {
        entry: row.entry
    }

    SpokenAction {
        name: row.desk.texts.renameSong + " " + row.entry.name
        hint: isOffered ? row.desk.hints.renameSong : row.desk.hints.notInLiveMode
        isOffered: row.desk.session.mayRenameSong
        onActed: row.desk.commands.beginSongRename(row.entry.songId)
    }
    SpokenAction {
        name: row.desk.texts.moveSongUp + " " + row.entry.name
        hint: isOffered ? row.desk.hints.moveSongUp : row.desk.hints.alreadyFirst
        isOffered: row.index > 0
        onActed: row.desk.commands.moveSong(row.entry.songId, -1)
    }
    SpokenAction {
        name: row.desk.texts.moveSongDown + " " + row.entry.name
        hint: isOffered ? row.desk.hints.moveSongDown : row.desk.hints.alreadyLast
        isOffered: row.index < row.desk.songs.count - 1
        onActed: row.desk.commands.moveSong(row.entry.songId, 1)
    }
    SpokenAction {
        name: row.desk.texts.deleteSong + " " + row.entry.name
        hint: row.desk.hints.deleteSong
        onActed: row.desk.commands.deleteSong(row.entry.songId)
    }

    Rectangle {
        anchors.bottom: parent.bottom
        width: parent.width
        height: 1
        color: Theme.raised
        visible: !row.isSelected
    }

    DragGlyph {
        objectName: "songHandle" + row.index
        width: Theme.handle
        height: row.height
        color: row.isSelected ? row.ink : Theme.quietInk
    }

    Text {
        objectName: "songName" + row.index
        anchors.fill: parent
        anchors.leftMargin: Theme.handle
        anchors.rightMargin: 4
        visible: !row.isEdited
        text: row.entry.name
        color: row.ink
        font.pixelSize: Theme.songText
        font.bold: row.isSelected
        // Two long names that begin alike must differ to the eye.
        wrapMode: Text.Wrap
        fontSizeMode: Text.Fit
        minimumPixelSize: 15
        elide: Text.ElideRight
        verticalAlignment: Text.AlignVCenter
    }

    Loader {
        id: editor

        anchors.fill: parent
        anchors.leftMargin: Theme.handle
        anchors.rightMargin: 4
        anchors.topMargin: 2
        anchors.bottomMargin: 2
    }
}
