// SPDX-License-Identifier: GPL-3.0-or-later
// The large notes alone on a screen of their own, which they fill. The stage keys of Live mode work here, too.
import QtQuick
import QtQuick.Layouts
import QtQuick.Window
import Vrel.Console

ScaledWindow {
    id: window

    required property ConsoleModel desk
    required property Window owner
    required property bool isOpen
    required property ScreenInfo display
    required property string consoleDisplay

    // To be shown takes the keys from the console. They come here by a press alone.
    property bool givesKeysBack: false

    function fill(): void {
        setGeometry(display.virtualX, display.virtualY, display.width, display.height);
    }

    function follow(): void {
        if (!isOpen || !display) {
            hide();
            return;
        }
        givesKeysBack = owner.active;
        screen = display;
        fill();
        showFullScreen();
        fill(); // where no window manager does it
        notes.forceActiveFocus(Qt.PopupFocusReason);
        shown.restart();
    }

    objectName: "largeNotesWindow"
    title: desk.hints.largeNotesTitle
    transientParent: owner
    visible: false
    color: Theme.background
    onIsOpenChanged: follow()
    onDisplayChanged: follow()
    onActiveChanged: {
        if (active && givesKeysBack)
            owner.requestActivate();
        givesKeysBack = givesKeysBack && !active;
    }
    onClosing: close => {
        close.accepted = false; // it stays, hidden
        desk.commands.toggleLargeNotes();
    }

    // Where a window manager has left them with the console.
    Timer {
        id: shown

        interval: 1000
        onTriggered: window.givesKeysBack = false
    }

    ColumnLayout {
        anchors.fill: parent
        anchors.margins: 16
        spacing: Theme.gap

        RowLayout {
            spacing: Theme.gap

            Text {
                Layout.fillWidth: true
                text: window.desk.session.stageSong
                color: Theme.ink
                font.pixelSize: Theme.stageText
                font.bold: true
                elide: Text.ElideRight
                Accessible.role: Accessible.Heading
                Accessible.name: text
            }
            LargeNotesTools {
                desk: window.desk
                consoleDisplay: window.consoleDisplay
                isOnDisplay: true
            }
            PushButton {
                objectName: "largeNotesWindowClose"
                text: "\u2715"
                spokenName: window.desk.texts.closePanel
                hint: spokenName
                onClicked: window.desk.commands.toggleLargeNotes()
            }
        }

        LargeNotesText {
            id: notes

            Layout.fillWidth: true
            Layout.fillHeight: true
            desk: window.desk
            Keys.onEscapePressed: window.desk.commands.toggleLargeNotes()
        }
    }
}
