// SPDX-License-Identifier: GPL-3.0-or-later
// Draws the three plans side by side: QT_QPA_PLATFORM=offscreen qmltestrunner -input tst_sketches.qml, in this folder.
import QtQuick
import QtTest

Item {
    width: plans.width
    height: plans.height

    Row {
        id: plans

        spacing: 20

        Repeater {
            model: ["column", "shelf", "inspector"]

            Sketch {
                required property string modelData

                plan: modelData
            }
        }
    }

    TestCase {
        when: windowShown

        function test_draw() {
            compare(plans.height, 768);
            grabImage(plans).save("sketches.png");
        }
    }
}
