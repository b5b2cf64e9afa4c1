// SPDX-License-Identifier: GPL-3.0-or-later
// A small drawing before the words of a menu entry or on a button, or a letter such as an arrow; nothing for any other symbol.
pragma ComponentBehavior: Bound

import QtQuick

Item {
    id: icon

    required property string symbol
    required property color color

    // Places and sizes; what is not filled is an outline.
    readonly property var pictures: ({
            "copy": [[Qt.rect(2, 1, 9, 11), Qt.rect(6, 5, 9, 11)], []],
            "duplicate": [[Qt.rect(2, 1, 9, 11), Qt.rect(6, 5, 9, 11)], [Qt.rect(8, 10, 5, 1.5), Qt.rect(9.75, 8.25, 1.5, 5)]],
            "paste": [[Qt.rect(3, 3, 11, 13)], [Qt.rect(6, 1, 5, 4)]],
            "cut": [[Qt.rect(2, 11, 6, 6), Qt.rect(10, 11, 6, 6)], [Qt.rect(8, 1, 1.5, 12), Qt.rect(8, 1, 1.5, 12)]],
            "trash": [[Qt.rect(4, 5, 10, 12)], [Qt.rect(2, 3, 14, 1.5), Qt.rect(7, 1, 4, 1.5), Qt.rect(7, 8, 1.5, 6), Qt.rect(10, 8, 1.5, 6)]],
            "wave": [[], [Qt.rect(1, 7, 2, 4), Qt.rect(5, 3, 2, 12), Qt.rect(9, 0, 2, 18), Qt.rect(13, 5, 2, 8)]],
            "pictures": [[Qt.rect(1, 2, 12, 9), Qt.rect(5, 7, 12, 9)], []],
            "plug": [[Qt.rect(4, 5, 10, 7)], [Qt.rect(6, 1, 1.5, 4), Qt.rect(10.5, 1, 1.5, 4), Qt.rect(8.25, 12, 1.5, 5)]]
        })
    readonly property list<rect> sheets: symbol in pictures ? pictures[symbol][0] : []
    readonly property list<rect> strokes: symbol in pictures ? pictures[symbol][1] : []

    width: 18
    height: 18

    Text {
        anchors.centerIn: parent
        text: icon.symbol.length === 1 ? icon.symbol : ""
        color: icon.color
        font.pixelSize: 17
        Accessible.ignored: true
    }
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
