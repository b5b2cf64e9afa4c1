// SPDX-License-Identifier: GPL-3.0-or-later
// What the console shows while nothing lies over it: menus, header, songs and strips.
import QtQuick
import QtQuick.Layouts
import Vrel.Console

FocusScope {
    id: body

    required property ConsoleModel desk

    readonly property real headerTop: rows.y + header.y
    readonly property real headerHeight: header.height
    readonly property real stageTop: rows.y + stage.y // of songs and strips

    ColumnLayout {
        id: rows

        anchors.fill: parent
        anchors.margins: 3
        spacing: 4

        // What comes and goes is shown where nothing has to move for it.
        RowLayout {
            Layout.fillWidth: true
            spacing: 4

            ConsoleMenuBar {
                Layout.fillWidth: !collecting.visible && !problem.visible
                desk: body.desk
            }
            CollectingBar {
                id: collecting

                Layout.fillWidth: !problem.visible
                desk: body.desk
            }
            ProblemLine {
                id: problem

                Layout.fillWidth: true
                desk: body.desk
            }
        }
        HeaderBar {
            id: header

            Layout.fillWidth: true
            desk: body.desk
        }
        LiveBanner {
            Layout.fillWidth: true
            desk: body.desk
        }
        Item {
            id: stage

            Layout.fillWidth: true
            Layout.fillHeight: true

            SongColumn {
                id: songs

                width: Laws.setlistWidth(body.width)
                height: stage.height
                desk: body.desk
            }
            WorkArea {
                x: songs.width + 4
                width: stage.width - x
                height: stage.height
                desk: body.desk
            }
        }
    }
}
