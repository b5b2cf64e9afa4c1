// SPDX-License-Identifier: GPL-3.0-or-later
// Makes the headings of the controls. Its component is not bound: from a bound one Qt 6.4 makes no heading, and warns that the
// component is not ready.
import QtQuick

QtObject {
    readonly property Component heading: Component {
        ControlHeading {}
    }
}
