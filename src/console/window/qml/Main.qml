// SPDX-License-Identifier: GPL-3.0-or-later
// The one window of the program. It shows the view-models and posts what the performer does; it decides nothing.
import QtQuick
import QtQuick.Layouts
import QtQuick.Window
import Vrel.Console

Window {
    id: window

    required property ConsoleModel desk
    // Of one screen: the window must not open across the one that the audience sees.
    required property size openingSize

    readonly property bool isLive: desk.session.isLive
    readonly property bool isAsked: desk.alert.isShown
    readonly property bool isCovered: isAsked || desk.session.isLoading

    // No caret may stay in a text field: from here on the keyboard is a remote control.
    function dropCaret(): void {
        if (isLive && !isAsked)
            content.forceActiveFocus(Qt.OtherFocusReason);
    }

    objectName: "consoleWindow"
    width: openingSize.width
    height: openingSize.height
    visible: true
    flags: Qt.Window | Qt.FramelessWindowHint
    title: desk.texts.appTitle
    color: Theme.background
    onIsLiveChanged: dropCaret()

    MenuKeys {
        desk: window.desk
        isAllowed: !window.isCovered
    }

    MouseArea {
        anchors.fill: parent
        onPressed: content.forceActiveFocus(Qt.MouseFocusReason)
    }

    FocusScope {
        id: content

        anchors.fill: parent
        focus: !window.isAsked
        enabled: !window.isCovered

        ColumnLayout {
            anchors.fill: parent
            anchors.margins: 6
            spacing: 6

            ConsoleMenuBar {
                Layout.fillWidth: true
                desk: window.desk
            }
            HeaderBar {
                id: header

                Layout.fillWidth: true
                desk: window.desk
            }
            LiveBanner {
                Layout.fillWidth: true
                desk: window.desk
            }
            RowLayout {
                Layout.fillWidth: true
                Layout.fillHeight: true
                spacing: 6

                ColumnLayout {
                    Layout.fillWidth: false
                    Layout.fillHeight: true
                    Layout.preferredWidth: Math.max(340, Math.min(600, window.width * 0.32))
                    spacing: 6

                    SetlistPanel {
                        Layout.fillWidth: true
                        Layout.fillHeight: true
                        desk: window.desk
                    }
                    TempoPanel {
                        Layout.fillWidth: true
                        desk: window.desk
                    }
                    NotesPanel {
                        Layout.fillWidth: true
                        desk: window.desk
                    }
                }
                StripsPanel {
                    Layout.fillWidth: true
                    Layout.fillHeight: true
                    desk: window.desk
                }
            }
            ProblemLine {
                Layout.fillWidth: true
                desk: window.desk
            }
        }
    }

    Rectangle {
        anchors.fill: parent
        visible: window.isLive
        color: "transparent"
        border.width: 4
        border.color: Theme.live
    }

    LoadingModal {
        anchors.fill: parent
        desk: window.desk
    }

    // Above the loading modal: a hanging note must be silenced at once, whatever is loading.
    PanicButton {
        x: window.width - width - 14
        y: header.y + 14
        height: header.height - 16
        desk: window.desk
        enabled: !window.isAsked
    }

    AlertBox {
        anchors.fill: parent
        desk: window.desk
    }
}
