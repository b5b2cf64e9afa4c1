// SPDX-License-Identifier: GPL-3.0-or-later
// Drags a strip to another place, and opens its menu. A finger drags by the number only: elsewhere it scrolls the row.
import QtQuick
import Vrel.Console

MouseArea {
    id: area

    required property ConsoleModel desk
    property bool isHandle

    property real pressedAt
    property bool isDragging
    property bool mayDrag

    signal menuWanted
    signal dragBegan
    signal dragMoved(real x) // in the window
    signal dragEnded

    function release(): void {
        if (isDragging)
            dragEnded();
        isDragging = false;
    }

    acceptedButtons: Qt.LeftButton | Qt.RightButton
    preventStealing: mayDrag
    onPressed: mouse => {
        forceActiveFocus(Qt.MouseFocusReason);
        pressedAt = mouse.x;
        mayDrag = desk.session.mayMoveChannels && (isHandle || mouse.source === Qt.MouseEventNotSynthesized);
    }
    onPositionChanged: mouse => {
        const far = Math.abs(mouse.x - pressedAt) >= Theme.dragDistance;
        if (!isDragging && far && pressedButtons === Qt.LeftButton && mayDrag) {
            isDragging = true;
            dragBegan();
        }
        if (isDragging)
            dragMoved(mapToItem(null, mouse.x, 0).x);
    }
    onReleased: release()
    onCanceled: release()
    onClicked: mouse => {
        if (mouse.button === Qt.RightButton)
            menuWanted();
    }
    onPressAndHold: if (!isDragging) menuWanted()
    Component.onDestruction: release()
}
