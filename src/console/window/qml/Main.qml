// SPDX-License-Identifier: GPL-3.0-or-later
// The one window of the program: what lies over what, and who has the keys. It decides nothing.
import QtQuick
import QtQuick.Window
import Vrel.Console

ScaledWindow {
    id: window

    required property ConsoleModel desk
    // Of one screen: the window must not open across the one that the audience sees.
    required property size openingSize
    // Where only the desktop knows how much space it has.
    required property bool opensMaximized

    readonly property bool isLive: desk.session.isLive
    readonly property bool isAsked: desk.alert.isShown
    readonly property bool isCovered: isAsked || desk.session.isLoading || desk.isPanelShown

    // Closes the page or the panel in front; whether one was open.
    function dismissPanel(): bool {
        return notes.dismiss() || panels.dismiss();
    }

    // No caret may stay in a text field: from here on the keyboard is a remote control.
    function dropCaret(): void {
        if (isLive && !isAsked)
            body.forceActiveFocus(Qt.OtherFocusReason);
    }

    objectName: "consoleWindow"
    drawScale: Laws.windowScale(width, height, desk.session.zoomPercent)
    width: openingSize.width
    height: openingSize.height
    visible: true
    visibility: opensMaximized ? Window.Maximized : Window.Windowed
    flags: Qt.Window | Qt.FramelessWindowHint
    title: desk.texts.appTitle
    color: Theme.background
    onIsLiveChanged: dropCaret()

    Binding {
        target: Theme
        property: "isLive"
        value: window.isLive
    }

    Binding {
        target: Theme
        property: "hasGaps"
        value: body.GraphicsInfo.api === GraphicsInfo.Software && window.drawScale % 1 !== 0
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

    ConsoleBody {
        id: body

        anchors.fill: parent
        desk: window.desk
        focus: !window.isAsked
        enabled: !window.isCovered
        Keys.onEscapePressed: event => event.accepted = window.dismissPanel()
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
        anchors.topMargin: body.stageTop + 1
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
        x: body.width - width - 8
        y: body.headerTop + 3
        height: body.headerHeight - 6
        desk: window.desk
        Keys.onEscapePressed: event => event.accepted = !window.isCovered && window.dismissPanel()
    }
}
