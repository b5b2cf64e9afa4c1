// SPDX-License-Identifier: GPL-3.0-or-later
// The notes of the song in large letters: a page over songs and strips, or alone on another screen. Without that screen they come
// back to the console.
pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Window
import Vrel.Console

Item {
    id: place

    required property ConsoleModel desk
    required property Window owner
    required property real drawScale

    readonly property bool isShown: desk.session.hasLargeNotes
    readonly property string consoleDisplay: Screen.name
    readonly property ScreenInfo display: displayNamed(desk.session.notesDisplay, consoleDisplay)

    // What the menus open below them.
    readonly property bool isAnotherOpen: desk.check.isOpen || desk.copies.isOpen || desk.learned.isOpen || desk.songControl.isOpen

    onIsAnotherOpenChanged: {
        if (isAnotherOpen)
            dismiss();
    }

    // Null for the console's own, and for one that is not there.
    function displayNamed(name: string, own: string): ScreenInfo {
        const screens = Application.screens;
        for (let index = 0; index < screens.length; ++index) {
            if (screens[index].name === name && name !== own)
                return screens[index];
        }
        return null;
    }

    // Closes the page; whether it was open.
    function dismiss(): bool {
        if (!page.isOpen)
            return false;
        page.closed();
        return true;
    }

    // What covered the page has taken the keys from it: a load, a question.
    onEnabledChanged: {
        if (enabled && page.isOpen)
            page.takeFocus();
    }

    LargeNotesPage {
        id: page

        anchors.fill: parent
        anchors.leftMargin: 3
        anchors.rightMargin: 3
        anchors.bottomMargin: Theme.gap
        desk: place.desk
        isOpen: place.isShown && !place.display
        consoleDisplay: place.consoleDisplay
    }

    LargeNotesWindow {
        desk: place.desk
        owner: place.owner
        drawScale: place.drawScale
        isOpen: place.isShown && place.display !== null
        display: place.display
        consoleDisplay: place.consoleDisplay
    }
}
