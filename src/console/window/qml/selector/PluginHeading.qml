// SPDX-License-Identifier: GPL-3.0-or-later
// Whose plug-ins follow, or that they are the preferred ones.
import QtQuick
import Vrel.Console

Caption {
    required property string section

    objectName: "pluginHeading"
    width: parent ? parent.width : 0
    height: 30
    verticalAlignment: Text.AlignVCenter
    text: section
}
