// SPDX-License-Identifier: GPL-3.0-or-later
// The text of the large notes. A learned control moves it to a place of the whole; wheel, finger and keys scroll it from there. In
// learn mode a press on it ties it to the hardware.
import QtQuick
import QtQuick.Controls.Basic
import Vrel.Console

Flickable {
    id: page

    required property ConsoleModel desk

    readonly property string notes: desk.session.songNotes
    readonly property real position: desk.session.notesPosition
    readonly property int song: desk.session.selectedSongIndex
    readonly property real range: Math.max(0, contentHeight - height)

    function scrollTo(place: real): void {
        contentY = Math.max(0, Math.min(range, place));
    }

    objectName: "largeNotes"
    contentWidth: width
    contentHeight: Math.max(words.height, height)
    clip: true
    boundsBehavior: Flickable.StopAtBounds
    activeFocusOnTab: true

    Accessible.role: Accessible.StaticText
    Accessible.name: desk.hints.largeNotesTitle + ": " + words.text
    Accessible.onPressAction: learning.claims()

    onPositionChanged: scrollTo(position * range)
    onSongChanged: contentY = 0
    // Another size of text or window keeps the place within what there is.
    onRangeChanged: scrollTo(contentY)
    Keys.onPressed: event => {
        const line = desk.session.notesTextSize;
        if (event.key === Qt.Key_Down)
            scrollTo(contentY + line);
        else if (event.key === Qt.Key_Up)
            scrollTo(contentY - line);
        else if (event.key === Qt.Key_PageDown)
            scrollTo(contentY + height * 0.8);
        else if (event.key === Qt.Key_PageUp)
            scrollTo(contentY - height * 0.8);
        else if (event.key === Qt.Key_Home)
            scrollTo(0);
        else if (event.key === Qt.Key_End)
            scrollTo(range);
        else if (event.key === Qt.Key_Plus)
            desk.commands.stepNotesText(1);
        else if (event.key === Qt.Key_Minus)
            desk.commands.stepNotesText(-1);
        else
            return;
        event.accepted = true;
    }

    ScrollBar.vertical: ScrollBar {
        policy: page.range > 0 ? ScrollBar.AlwaysOn : ScrollBar.AlwaysOff
        width: 12
        Accessible.name: page.desk.hints.largeNotesTitle
    }

    Text {
        id: words

        objectName: "largeNotesWords"
        width: page.width - 20
        text: page.notes || page.desk.hints.noNotes
        textFormat: Text.PlainText
        color: page.notes ? Theme.ink : Theme.quietInk
        font.pixelSize: page.desk.session.notesTextSize
        wrapMode: Text.Wrap
        lineHeight: 1.15
        Accessible.ignored: true
    }

    TapHandler {
        onTapped: {
            page.forceActiveFocus(Qt.MouseFocusReason);
            learning.claims();
        }
    }

    LearnTarget {
        id: learning

        parent: page
        desk: page.desk
        kind: LearnKind.NotesPosition
    }
}
