// SPDX-License-Identifier: GPL-3.0-or-later
// A small drawing before a menu entry: "cut", "copy", "paste" or "duplicate"; nothing for any other.
pragma ComponentBehavior: Bound

import QtQuick

Item {
    id: icon

    required property string symbol
    required property color color

    // Places, sizes and turns in degrees; what is not filled is an outline.
    readonly property list<rect> sheets: symbol === "copy" || symbol === "duplicate" ? [Qt.rect(2, 1, 9, 11), Qt.rect(6, 5, 9, 11)] : symbol === "paste" ? [Qt.rect(3, 3, 11, 13)] : symbol === "cut" ? [Qt.rect(2, 11, 6, 6), Qt.rect(10, 11, 6, 6)] : []
    readonly property list<rect> strokes: symbol === "duplicate" ? [Qt.rect(8, 10, 5, 1.5), Qt.rect(9.75, 8.25, 1.5, 5)] : symbol === "paste" ? [Qt.rect(6, 1, 5, 4)] : symbol === "cut" ? [Qt.rect(8, 1, 1.5, 12), Qt.rect(8, 1, 1.5, 12)] : []

    width: 18
    height: 18

    Repeater {
        model: icon.sheets.length

        Rectangle {
            required property int index

            x: icon.sheets[index].x
            y: icon.sheets[index].y
            width: icon.sheets[index].width
            height: icon.sheets[index].height
            radius: icon.symbol === "cut" ? 3 : 1
            color: "transparent"
            border.width: 1.5
            border.color: icon.color
        }
    }
    Repeater {
        model: icon.strokes.length

        Rectangle {
            required property int index

            x: icon.strokes[index].x
            y: icon.strokes[index].y
            width: icon.strokes[index].width
            height: icon.strokes[index].height
            rotation: icon.symbol !== "cut" ? 0 : index === 0 ? 28 : -28
            color: icon.color
        }
    }
}
