// SPDX-License-Identifier: GPL-3.0-or-later
// The row in the hand, which stays under the finger while the others make room.
import QtQuick
import Vrel.Console

Field {
    id: row

    property string name

    objectName: "liftedSong"
    z: 3
    height: Theme.song
    color: Theme.raised
    border.width: 3
    border.color: Theme.teal

    Text {
        anchors.fill: parent
        anchors.leftMargin: Theme.handle
        text: row.name
        color: Theme.ink
        font.pixelSize: Theme.songText
        elide: Text.ElideRight
        verticalAlignment: Text.AlignVCenter
    }
}
