// SPDX-License-Identifier: GPL-3.0-or-later
// Above the first row of a group: whose plug-ins follow, or that they are the preferred ones.
import QtQuick
import Vrel.Console

Caption {
    objectName: "pluginHeading"
    visible: text !== ""
    height: Math.max(30, implicitHeight)
    wrapMode: Text.Wrap
    verticalAlignment: Text.AlignVCenter
}
