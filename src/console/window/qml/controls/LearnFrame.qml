// SPDX-License-Identifier: GPL-3.0-or-later
// The frame of a control that can be learned: dashed while it is one of many, drawn through while it waits for its hardware.
import QtQuick
import Vrel.Console

Canvas {
    id: frame

    required property bool isLearning
    required property bool isPending
    readonly property real inset: 10 // room for the glow

    visible: look.isShown
    onPaint: {
        const context = getContext("2d");
        context.reset();
        context.strokeStyle = look.stroke;
        context.lineWidth = look.strokeWidth;
        context.shadowColor = look.shadow;
        context.shadowBlur = look.shadowRadius;
        context.setLineDash(Array.from(look.dashes));
        context.beginPath();
        context.roundedRect(inset, inset, width - 2 * inset, height - 2 * inset, look.cornerRadius, look.cornerRadius);
        context.stroke();
    }

    LearnHighlight {
        id: look

        isEnabled: frame.isLearning
        isPending: frame.isPending
        onChanged: frame.requestPaint()
    }
}
