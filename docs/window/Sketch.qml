// SPDX-License-Identifier: GPL-3.0-or-later
// One plan of the window at 1366 by 768, with dummy data. plan: "column", "shelf" or "inspector".
import QtQuick

Rectangle {
    id: sketch

    property string plan: "column"

    component Area: Rectangle {
        property string title

        color: "#121417"
        border.color: "#383d44"
        radius: 6

        Text {
            x: 8
            y: 5
            text: parent.title
            color: "#aeb4bd"
            font.pixelSize: 13
            font.bold: true
        }
    }

    component Field: Rectangle {
        id: field

        property string words
        property bool isLit

        color: isLit ? "#ff5500" : "#24272c"
        radius: 4

        Text {
            anchors.centerIn: parent
            width: parent.width - 4
            horizontalAlignment: Text.AlignHCenter
            text: field.words
            color: field.isLit ? "black" : "#f4f5f7"
            font.pixelSize: 13
            elide: Text.ElideRight
        }
    }

    component Songs: Area {
        id: songs

        property int columns: 1

        title: "SETLIST"

        Grid {
            x: 8
            y: 26
            columns: songs.columns
            spacing: 4

            Repeater {
                model: ["01. Opener", "02. The Long Way Home, Acoustic", "03. Blue Room", "04. Night Train to Lisbon", "05. Harbour Lights", "06. Encore"]

                Field {
                    required property string modelData
                    required property int index

                    width: (songs.width - 12 - 4 * songs.columns) / songs.columns
                    height: 38
                    words: modelData
                    isLit: index === 1
                }
            }
        }
    }

    component Keys: Area {
        id: keys

        title: "SPLITS AND KEYS"

        Row {
            x: 150
            y: keys.height - 90
            spacing: 1

            Repeater {
                model: 52

                Rectangle {
                    width: 13
                    height: 85
                    color: "#e8e8e8"
                }
            }
        }
    }

    component Strip: Rectangle {
        id: strip

        property int number: 1
        property bool isWhole: true
        readonly property list<string> above: isWhole ? ["Piano Lead", "RUNNING", "Rhodes", "CRASH PLUGIN", "FX 2"] : ["Piano Lead", "RUNNING"]
        readonly property list<string> below: isWhole ? ["MUTE   SOLO", "Transpose  +0", "Split  C2 - C6", "SUS  EXP  ROT"] : ["M   S"]
        readonly property real faderEnd: height - 38 * below.length - 8

        width: isWhole ? 126 : 86
        color: "#08090b"
        border.color: number === 1 ? "white" : "#383d44"
        radius: 6

        Column {
            x: 5
            y: 5
            spacing: 3

            Field {
                width: strip.width - 10
                height: 26
                words: strip.number
            }
            Repeater {
                model: strip.above

                Field {
                    required property string modelData

                    width: strip.width - 10
                    height: 24
                    words: modelData
                }
            }
        }
        Rectangle {
            x: 14
            y: strip.faderEnd - height
            width: 24
            height: 140
            color: "#0b7f8a"
        }
        Rectangle {
            x: 46
            y: strip.faderEnd - height
            width: 20
            height: 140
            color: "#30343a"
        }
        Repeater {
            model: strip.isWhole ? 2 : 0

            Rectangle {
                required property int index

                x: 76
                y: strip.faderEnd - 135 + index * 70
                width: 34
                height: 34
                radius: 17
                color: "#34383e"
            }
        }
        Column {
            x: 5
            y: strip.faderEnd + 5
            spacing: 3

            Repeater {
                model: strip.below

                Field {
                    required property string modelData

                    width: strip.width - 10
                    height: 33
                    words: modelData
                }
            }
        }
    }

    component Strips: Area {
        id: strips

        property bool isWhole: true
        property int count: 7

        Row {
            x: 5
            y: 5
            spacing: 6

            Repeater {
                model: strips.count

                Strip {
                    required property int index

                    height: strips.height - 24
                    number: index + 1
                    isWhole: strips.isWhole
                }
            }
        }
    }

    width: 1366
    height: 768
    color: "#08090b"

    Area {
        x: 3
        y: 3
        width: 1360
        height: 88
        title: sketch.plan.toUpperCase()
    }
    Field {
        x: 1210
        y: 40
        width: 148
        height: 46
        words: "PANIC"
        color: "#e3121f"
    }

    Item {
        visible: sketch.plan === "column"

        Songs { x: 3; y: 95; width: 292; height: 380 }
        Area { x: 3; y: 479; width: 292; height: 80; title: "TEMPO" }
        Area { x: 3; y: 563; width: 292; height: 202; title: "NOTES" }
        Keys { x: 299; y: 95; width: 1064; height: 189 }
        Strips { x: 299; y: 288; width: 936; height: 477 }
        Area { x: 1239; y: 288; width: 124; height: 477; title: "MASTER" }
    }
    Item {
        visible: sketch.plan === "shelf"

        Songs { x: 3; y: 95; width: 960; height: 116; columns: 3 }
        Area { x: 967; y: 95; width: 160; height: 116; title: "TEMPO" }
        Area { x: 1131; y: 95; width: 232; height: 116; title: "NOTES" }
        Keys { x: 3; y: 215; width: 1360; height: 189 }
        Strips { x: 3; y: 408; width: 1232; height: 357; count: 9 }
        Area { x: 1239; y: 408; width: 124; height: 357; title: "MASTER" }
    }
    Item {
        visible: sketch.plan === "inspector"

        Songs { x: 3; y: 95; width: 232; height: 380 }
        Area { x: 3; y: 479; width: 232; height: 80; title: "TEMPO" }
        Area { x: 3; y: 563; width: 232; height: 202; title: "NOTES" }
        Keys { x: 239; y: 95; width: 900; height: 189 }
        Strips { x: 239; y: 288; width: 806; height: 477; isWhole: false; count: 8 }
        Area { x: 1049; y: 288; width: 90; height: 477; title: "MASTER" }
        Area { x: 1143; y: 95; width: 220; height: 670; title: "STRIP 1" }
        Strip { x: 1190; y: 125; height: 620 }
    }
}
