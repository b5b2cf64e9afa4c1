// SPDX-License-Identifier: GPL-3.0-or-later
// Takes files that are dragged here from outside, and shows where they would go.
import QtQuick
import Vrel.Console

DropArea {
    id: area

    property bool isFramed: true
    property bool takesMany // one after the other

    signal fileDropped(url file)

    keys: ["text/uri-list"]
    onDropped: drop => {
        if (drop.hasUrls && drop.urls.length > 0) {
            for (let index = 0; index < (area.takesMany ? drop.urls.length : 1); ++index)
                area.fileDropped(drop.urls[index]);
            drop.accept(Qt.CopyAction);
        }
    }

    Rectangle {
        anchors.fill: parent
        visible: area.isFramed && area.containsDrag
        color: Theme.faded(Theme.teal, 0.15)
        radius: Theme.radius
        border.width: 3
        border.color: Theme.teal
    }
}
