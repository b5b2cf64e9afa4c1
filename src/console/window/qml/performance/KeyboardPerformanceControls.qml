// SPDX-License-Identifier: GPL-3.0-or-later
// What the performer does beside the keys: pitch bend, modulation, sustain and expression as they are now.
import QtQuick
import Vrel.Console

Item {
    id: controls

    required property ConsoleModel desk

    readonly property PerformanceBoard played: desk.performance

    implicitWidth: 170
    implicitHeight: lines.y + lines.height

    Row {
        id: wheels

        width: parent.width
        spacing: parent.width - 2 * 76

        PerformanceSlider {
            objectName: "performancePitch"
            desk: controls.desk
            title: "PITCH"
            spokenName: "Pitch Bend"
            learnKind: LearnKind.PerformancePitchBend
            value: controls.played.pitch
            centered: true
        }
        PerformanceSlider {
            objectName: "performanceModulation"
            desk: controls.desk
            title: "MOD"
            spokenName: "Modulation"
            learnKind: LearnKind.PerformanceModulation
            value: controls.played.modulation
        }
    }

    Column {
        id: lines

        y: wheels.height + 8
        width: parent.width
        spacing: 6

        PerformanceLine {
            objectName: "performanceSustain"
            width: lines.width
            desk: controls.desk
            title: "SUSTAIN"
            spokenName: "Sustain"
            learnKind: LearnKind.PerformanceSustain
            value: controls.played.sustain
            fill: controls.played.sustainFill
            isActive: controls.played.isSustainActive
            activeColor: Qt.rgba(250 / 255, 210 / 255, 60 / 255, 1)
        }
        PerformanceLine {
            objectName: "performanceExpression"
            width: lines.width
            desk: controls.desk
            title: "EXPRESSION"
            spokenName: "Expression"
            learnKind: LearnKind.PerformanceExpression
            value: controls.played.expression
            fill: controls.played.expressionFill
            isActive: controls.played.isExpressionActive
            activeColor: Qt.rgba(80 / 255, 220 / 255, 110 / 255, 1)
        }
    }
}
