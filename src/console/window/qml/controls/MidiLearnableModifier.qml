// SPDX-License-Identifier: GPL-3.0-or-later
// The frame of a control that can be learned: dashed while it is one of many, solid while it waits for its hardware.
import QtQuick
import Vrel.Console

Canvas {
    id: frame

    required property bool isEnabled
    required property bool isPending

    readonly property real cornerRadius: 4
    readonly property color stroke: isPending ? Theme.learnPending : Theme.learnable
    readonly property real strokeWidth: isPending ? 2 : 1.5
    readonly property list<real> dashes: isPending ? [] : [4, 3] // on and off
    readonly property real shadowOpacity: isPending ? 0.55 : 0.35
    readonly property real shadowRadius: isPending ? 6 : 3
    readonly property real inset: 10 // room for the glow

    visible: isEnabled
    onIsPendingChanged: requestPaint()
    onPaint: {
        const context = getContext("2d");
        context.reset();
        context.strokeStyle = stroke;
        context.lineWidth = strokeWidth;
        context.shadowColor = Theme.faded(stroke, shadowOpacity);
        context.shadowBlur = shadowRadius;
        context.setLineDash(Array.from(dashes, length => length / strokeWidth)); // in widths of the stroke
        context.beginPath();
        context.roundedRect(inset, inset, width - 2 * inset, height - 2 * inset, cornerRadius, cornerRadius);
        context.stroke();
    }
}
