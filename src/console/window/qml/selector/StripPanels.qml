// SPDX-License-Identifier: GPL-3.0-or-later
// The panels that belong to one strip or to the master, over the column of the setlist.
import QtQuick
import Vrel.Console

Item {
    id: place

    required property ConsoleModel desk

    readonly property real column: Laws.setlistWidth(width)

    RackPanel {
        x: 3
        width: place.column
        height: place.height - Theme.gap
        desk: place.desk
    }

    LearnedPanel {
        x: 3
        width: place.column
        height: place.height - Theme.gap
        desk: place.desk
    }

    // Above the rack, which stays open below it.
    InstrumentPanel {
        x: 3
        width: place.column
        height: place.height - Theme.gap
        desk: place.desk
    }
}
