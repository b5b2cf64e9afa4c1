// SPDX-License-Identifier: GPL-3.0-or-later
// Makes the headings of the controls; see PluginHeadings.qml.
import QtQuick

QtObject {
    readonly property Component heading: Component {
        ControlHeading {}
    }
}
