// SPDX-License-Identifier: GPL-3.0-or-later
// The name of a group of controls. Those without a group have no heading.
import QtQuick
import Vrel.Console

Caption {
    required property string section

    objectName: "controlHeading"
    width: parent ? parent.width : 0
    height: section === "" ? 0 : 30
    visible: section !== ""
    verticalAlignment: Text.AlignVCenter
    text: section
}
