// SPDX-License-Identifier: GPL-3.0-or-later
// Finds the row of a list under a drag. All rows have one length, so the position alone is enough, whatever the rows that move
// out of the way look like at that moment.
import QtQuick

QtObject {
    id: tracker

    required property int count
    required property real rowLength
    property string draggedId
    property string draggedName
    property string enteredId

    readonly property bool isDragging: draggedId !== ""

    signal began(string id)
    signal entered(string id)
    signal exited(string id)
    signal dropped(string id)

    function rowAt(place: real): int {
        return Math.max(0, Math.min(count - 1, Math.floor(place / rowLength)));
    }

    function begin(id: string): void {
        draggedId = id;
        enteredId = "";
        began(id);
    }

    // The drag lies over the row of this id.
    function moveOver(id: string): void {
        if (!isDragging || id === enteredId)
            return;
        if (enteredId !== "")
            exited(enteredId);
        enteredId = id === draggedId ? "" : id;
        if (enteredId !== "")
            entered(enteredId);
    }

    function end(): void {
        if (!isDragging)
            return;
        const last = enteredId === "" ? draggedId : enteredId;
        draggedId = "";
        enteredId = "";
        dropped(last);
    }
}
