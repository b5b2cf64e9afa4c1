// SPDX-License-Identifier: GPL-3.0-or-later
// Says what a control does, or why it does nothing now, when the pointer rests on it. It works on a disabled control, too.
import QtQuick

Item {
    id: hint

    required property Item over
    property string text
    property bool isBeside // to the right of it, such as in a column of lines
    property bool isBelow // where there is no room above

    // The handler lies in the parent of the control, and may go before this. One that lies below an area that takes the hover sets it
    // itself.
    property bool isOver: pointer?.isOver ?? false
    readonly property bool isShown: isOver && text !== ""

    // Also in another language while it is shown.
    onTextChanged: {
        if (loader.item)
            (loader.item as HintBubble).text = text;
    }

    Accessible.ignored: true

    HoverHandler {
        id: pointer

        readonly property bool isOver: hovered && hint.over.visible && hint.over.contains(hint.over.mapFromItem(parent, point.position))

        parent: hint.over.parent
        enabled: hint.text !== ""
    }

    // Made when it is wanted: there are hundreds of controls.
    Loader {
        id: loader

        // A control that is taken away keeps the pointer's last word.
        active: hint.isShown && hint.over.Window.window !== null
        source: "HintBubble.qml"
        onLoaded: {
            const bubble = item as HintBubble;
            bubble.parent = hint.over;
            bubble.text = hint.text;
            if (hint.isBeside) {
                bubble.x = hint.over.width + 8;
                bubble.y = 0;
            } else if (hint.isBelow) {
                bubble.y = hint.over.height + 4;
            }
        }
    }
}
