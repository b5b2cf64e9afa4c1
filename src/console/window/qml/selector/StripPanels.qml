// SPDX-License-Identifier: GPL-3.0-or-later
// The panels that belong to one strip, to the master or to the setlist, over the column of the setlist or over the strips.
import QtQuick
import Vrel.Console

Item {
    id: place

    required property ConsoleModel desk

    readonly property real column: Laws.setlistWidth(width)

    // Closes the uppermost; whether one was open.
    function dismiss(): bool {
        if (instruments.isOpen)
            instruments.closed();
        else if (track.isOpen)
            track.closed();
        else if (clips.isOpen)
            clips.closed();
        else if (check.isOpen)
            check.closed();
        else if (copies.isOpen)
            copies.closed();
        else if (learned.isOpen)
            learned.closed();
        else if (songControl.isOpen)
            songControl.closed();
        else if (rack.isOpen)
            rack.closed();
        else
            return false;
        return true;
    }

    RackPanel {
        id: rack

        x: 3
        width: place.column
        height: place.height - Theme.gap
        desk: place.desk
    }

    LearnedPanel {
        id: learned

        x: 3
        width: place.column
        height: place.height - Theme.gap
        desk: place.desk
    }

    SongControlPanel {
        id: songControl

        x: 3
        width: place.column
        height: place.height - Theme.gap
        desk: place.desk
    }

    // Over the strips: the keyboard above them stays free.
    TrackPanel {
        id: track

        x: place.column + 7
        y: place.height - height - Theme.gap
        width: place.width - x - 3
        height: Math.min(440, place.height - Theme.gap)
        desk: place.desk
    }

    ClipPanel {
        id: clips

        x: place.column + 7
        y: place.height - height - Theme.gap
        width: place.width - x - 3
        height: Math.min(440, place.height - Theme.gap)
        desk: place.desk
    }

    CheckPanel {
        id: check

        x: place.column + 7
        width: place.width - x - 3
        height: place.height - Theme.gap
        desk: place.desk
    }

    CopiesPanel {
        id: copies

        x: place.column + 7
        width: place.width - x - 3
        height: place.height - Theme.gap
        desk: place.desk
    }

    // Above the rack, which stays open below it.
    InstrumentPanel {
        id: instruments

        x: 3
        width: place.column
        height: place.height - Theme.gap
        desk: place.desk
    }
}
