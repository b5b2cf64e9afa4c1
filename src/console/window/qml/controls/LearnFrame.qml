// SPDX-License-Identifier: GPL-3.0-or-later
// The frame of a control that can be learned: dashed while it is one of many, drawn through while it waits for its hardware.
import QtQuick
import Vrel.Console

Canvas {
    id: frame

    required property bool isPending
    readonly property real inset: 10 // room for the glow

    readonly property color stroke: isPending ? Theme.learning : Theme.learnable

    onIsPendingChanged: requestPaint()
    onPaint: {
        const context = getContext("2d");
        context.reset();
        context.strokeStyle = stroke;
        context.lineWidth = isPending ? 2 : 1.5;
        context.shadowColor = Theme.faded(stroke, isPending ? 0.55 : 0.35);
        context.shadowBlur = isPending ? 6 : 3;
        if (!isPending)
            context.setLineDash([4 / 1.5, 3 / 1.5]);
        context.beginPath();
        context.roundedRect(inset, inset, width - 2 * inset, height - 2 * inset, 4, 4);
        context.stroke();
    }
}
