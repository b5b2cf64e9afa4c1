// SPDX-License-Identifier: GPL-3.0-or-later
// A window of the Help menu: headings with what is below each, in one column.
pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Window
import Vrel.Console

ScaledWindow {
    id: window

    required property Window owner
    required property real ownerScale
    required property HelpViewModel entry

    readonly property int raises: entry.raises
    property bool isPlaced: false

    signal closed

    function place(): void {
        if (isPlaced)
            return;
        isPlaced = true;
        width = entry.contentWidth * drawScale;
        height = entry.contentHeight * drawScale;
        x = Screen.virtualX + (Screen.width - width) / 2;
        y = Screen.virtualY + (Screen.height - height) / 2;
    }

    // It may be raised before it is known to be open: values of one moment come in any order.
    function come(): void {
        if (!entry.isOpen)
            return;
        place();
        show();
        raise();
        requestActivate();
        page.forceActiveFocus(Qt.PopupFocusReason);
    }

    // Its words are small, and are not drawn smaller.
    drawScale: Math.max(1, ownerScale)
    title: entry.title
    transientParent: owner
    flags: Qt.Window | Qt.CustomizeWindowHint | Qt.WindowTitleHint | Qt.WindowCloseButtonHint | Qt.WindowMinimizeButtonHint
    minimumWidth: 320
    minimumHeight: 240
    visible: false
    color: Theme.background
    onRaisesChanged: come()
    onClosing: close => {
        close.accepted = false; // it stays, hidden
        closed();
    }

    Connections {
        target: window.entry
        function onIsOpenChanged(): void {
            if (window.entry.isOpen)
                window.come();
            else
                window.hide();
        }
    }

    ScrollView {
        id: page

        anchors.fill: parent
        anchors.margins: 20
        contentWidth: availableWidth
        focus: true
        Keys.onEscapePressed: window.closed()
        Keys.onUpPressed: bar.decrease()
        Keys.onDownPressed: bar.increase()

        ScrollBar.vertical: ScrollBar {
            id: bar

            parent: page
            x: page.width - width
            height: page.height
            width: 12
            stepSize: 0.1
            policy: size < 1 ? ScrollBar.AlwaysOn : ScrollBar.AlwaysOff
            Accessible.name: window.title
        }

        Column {
            width: page.availableWidth - 14
            spacing: 18

            Text {
                objectName: "helpTitle"
                width: parent.width
                text: window.entry.title
                color: window.entry.accentColor
                font.pixelSize: 24
                wrapMode: Text.Wrap
                Accessible.role: Accessible.Heading
                Accessible.name: text
            }

            Repeater {
                model: window.entry.sections

                delegate: Column {
                    id: section

                    required property int index
                    required property helpEntry modelData

                    width: parent.width
                    spacing: 6

                    Text {
                        objectName: "helpSection" + section.index
                        width: parent.width
                        text: section.modelData.title
                        color: Theme.ink
                        font.pixelSize: 14
                        font.bold: true
                        wrapMode: Text.Wrap
                        Accessible.role: Accessible.Heading
                        Accessible.name: text
                    }
                    Text {
                        objectName: "helpBody" + section.index
                        width: parent.width
                        text: section.modelData.body
                        color: Theme.ink
                        font.pixelSize: 12
                        wrapMode: Text.Wrap
                        Accessible.role: Accessible.StaticText
                        Accessible.name: text
                    }
                }
            }
        }
    }
}
