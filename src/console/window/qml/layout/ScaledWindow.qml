// SPDX-License-Identifier: GPL-3.0-or-later
// A window that is drawn at a scale: all lengths but its own are in points. Menus and other popups lie in its content, and are
// scaled with it.
import QtQuick
import QtQuick.Window

Window {
    id: window

    required property real drawScale // pixels for each point

    function fit(): void {
        contentItem.transformOrigin = Item.TopLeft;
        contentItem.scale = drawScale;
        contentItem.width = width / drawScale;
        contentItem.height = height / drawScale;
    }

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
}
