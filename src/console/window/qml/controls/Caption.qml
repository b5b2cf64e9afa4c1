// SPDX-License-Identifier: GPL-3.0-or-later
// The heading of an area.
import QtQuick
import Vrel.Console

Text {
    color: Theme.quietInk
    font.pixelSize: Theme.tinyText
    font.bold: true
    font.letterSpacing: 1
    elide: Text.ElideRight
    Accessible.role: Accessible.Heading
    Accessible.name: text
}
