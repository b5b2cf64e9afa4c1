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
    // Where only the desktop knows how much space it has.
    required property bool opensMaximized

    readonly property bool isLive: desk.session.isLive
    readonly property bool isAsked: desk.alert.isShown
    readonly property bool isCovered: isAsked || desk.session.isLoading || desk.isPanelShown
    // Pixels for each point. All lengths but the window's own are in points.
    readonly property real drawScale: Laws.windowScale(width, height, desk.session.zoomPercent)

    // Closes the page or the panel in front; whether one was open.
    function dismissPanel(): bool {
        return notes.dismiss() || panels.dismiss();
    }

    // Menus and other popups lie in the content, too, and are scaled with it.
    function fit(): void {
        contentItem.transformOrigin = Item.TopLeft;
        contentItem.scale = drawScale;
        contentItem.width = width / drawScale;
        contentItem.height = height / drawScale;
    }

    // No caret may stay in a text field: from here on the keyboard is a remote control.
    function dropCaret(): void {
        if (isLive && !isAsked)
            content.forceActiveFocus(Qt.OtherFocusReason);
    }

    objectName: "consoleWindow"
    width: openingSize.width
    height: openingSize.height
    visible: true
    visibility: opensMaximized ? Window.Maximized : Window.Windowed
    flags: Qt.Window | Qt.FramelessWindowHint
    title: desk.texts.appTitle
    color: Theme.background
    onIsLiveChanged: dropCaret()
    onDrawScaleChanged: fit()
    onWidthChanged: fit()
    onHeightChanged: fit()
    Component.onCompleted: fit()

    // The window sizes its content itself, in pixels, after its own size has changed.
    Connections {
        target: window.contentItem
        function onWidthChanged(): void {
            window.fit();
        }
        function onHeightChanged(): void {
            window.fit();
        }
    }

    Binding {
        target: Theme
        property: "isLive"
        value: window.isLive
    }

    MenuKeys {
        desk: window.desk
        isAllowed: !window.isCovered
    }

    ZoomKeys {
        desk: window.desk
    }

    FileDrop {
        anchors.fill: parent
        isFramed: false
        onFileDropped: file => window.desk.commands.dropOnWindow(file)
    }

    FocusScope {
        id: content

        anchors.fill: parent
        focus: !window.isAsked
        enabled: !window.isCovered
        Keys.onEscapePressed: event => event.accepted = window.dismissPanel()

        ColumnLayout {
            anchors.fill: parent
            anchors.margins: 3
            spacing: 4

            // A problem is shown where nothing has to move for it.
            RowLayout {
                Layout.fillWidth: true
                spacing: 4

                ConsoleMenuBar {
                    Layout.fillWidth: !problem.visible
                    desk: window.desk
                }
                ProblemLine {
                    id: problem

                    Layout.fillWidth: true
                    desk: window.desk
                }
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
            Item {
                id: body

                Layout.fillWidth: true
                Layout.fillHeight: true

                SongColumn {
                    id: songs

                    width: Laws.setlistWidth(content.width)
                    height: body.height
                    desk: window.desk
                }
                WorkArea {
                    x: songs.width + 4
                    width: body.width - x
                    height: body.height
                    desk: window.desk
                }
            }
        }
    }

    Rectangle {
        anchors.fill: parent
        visible: window.isLive
        color: "transparent"
        border.width: 3
        border.color: Theme.live
    }

    // Below the banner, whose songs must stay in sight.
    StripPanels {
        id: panels

        anchors.fill: parent
        anchors.topMargin: body.y + 4
        desk: window.desk
        enabled: !window.isCovered
    }

    LargeNotes {
        id: notes

        anchors.fill: panels
        desk: window.desk
        owner: window
        drawScale: window.drawScale
        enabled: !window.isCovered
    }

    CollectingBar {
        anchors.horizontalCenter: parent.horizontalCenter
        anchors.bottom: parent.bottom
        anchors.bottomMargin: 16
        desk: window.desk
        enabled: !window.isCovered
    }

    EditorWindows {
        desk: window.desk
        owner: window
        drawScale: window.drawScale
    }

    HelpWindows {
        desk: window.desk
        owner: window
        drawScale: window.drawScale
    }

    LoadingModal {
        anchors.fill: parent
        desk: window.desk
    }

    ModalShade {
        objectName: "panelShade"
        anchors.fill: parent
        visible: window.desk.isPanelShown
        darkness: 0.6
    }

    AlertBox {
        anchors.fill: parent
        desk: window.desk
    }

    // Above everything: a hanging note must be silenced at once, whatever is open. See also UiThread, for menus.
    PanicButton {
        x: content.width - width - 8
        y: header.y + 6
        height: header.height - 6
        desk: window.desk
        Keys.onEscapePressed: event => event.accepted = !window.isCovered && window.dismissPanel()
    }
}
