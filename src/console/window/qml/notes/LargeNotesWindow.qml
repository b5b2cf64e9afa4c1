// SPDX-License-Identifier: GPL-3.0-or-later
// The large notes alone on a screen of their own, which they fill. The stage keys of Live mode work here, too.
import QtQuick
import QtQuick.Layouts
import QtQuick.Window
import Vrel.Console

Window {
    id: window

    required property ConsoleModel desk
    required property Window owner
    required property real drawScale
    required property bool isOpen
    required property ScreenInfo display
    required property string consoleDisplay

    // See Main.qml.
    function fit(): void {
        contentItem.transformOrigin = Item.TopLeft;
        contentItem.scale = drawScale;
        contentItem.width = width / drawScale;
        contentItem.height = height / drawScale;
    }

    function fill(): void {
        setGeometry(display.virtualX, display.virtualY, display.width, display.height);
    }

    function follow(): void {
        if (!isOpen || !display) {
            hide();
            return;
        }
        screen = display;
        fill();
        showFullScreen();
        fill(); // where no window manager does it
        notes.forceActiveFocus(Qt.PopupFocusReason);
    }

    objectName: "largeNotesWindow"
    title: desk.hints.largeNotesTitle
    transientParent: owner
    visible: false
    color: Theme.background
    onDrawScaleChanged: fit()
    onWidthChanged: fit()
    onHeightChanged: fit()
    onIsOpenChanged: follow()
    onDisplayChanged: follow()
    onClosing: close => {
        close.accepted = false; // it stays, hidden
        desk.commands.toggleLargeNotes();
    }
    Component.onCompleted: fit()

    Connections {
        target: window.contentItem
        function onWidthChanged(): void {
            window.fit();
        }
        function onHeightChanged(): void {
            window.fit();
        }
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
