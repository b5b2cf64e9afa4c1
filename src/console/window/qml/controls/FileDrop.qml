// SPDX-License-Identifier: GPL-3.0-or-later
// Takes files that are dragged here from outside, and shows where they would go.
import QtQuick
import Vrel.Console

DropArea {
    id: area

    property bool isFramed: true

    signal fileDropped(url file)

    keys: ["text/uri-list"]
    onDropped: drop => {
        if (drop.hasUrls && drop.urls.length > 0) {
            area.fileDropped(drop.urls[0]);
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
