#pragma once

// Where the still sits in every frame of a parallax clip: a cover fit, enlarged by a constant
// that grows with intensity, pushed in linearly over the clip and drifting right and up.
// Pure arithmetic in doubles, shared by the renderer, its tests and the benchmarks.

#include "model/Records.h"

#include <QtGlobal>

namespace quillvane {

struct ClipFrames {
    int fps = 1;            // frames per second and the clip's time scale; at least 1
    qint64 frameCount = 1;  // at least 1; frame k is shown at k / fps seconds
};

// fps' = max(fps, 1) and N = max(trunc(durationSeconds * fps'), 1). Throws
// MotionError::settingsOutOfRange when fps' does not fit 32 bits or the product is not a
// finite number that fits 64 bits.
ClipFrames clipFrames(const DepthFlowSettings &settings);

struct StillPlacement {
    double scale = 1;   // s: enlargement of the cover-fit size
    double width = 0;   // dw
    double height = 0;  // dh
    double x0 = 0;      // left edge
    double y0 = 0;      // bottom edge, measured upward from the frame's bottom

    // Top edge measured downward from the frame's top, for top-down pixel rows.
    double top(double frameHeight) const { return frameHeight - (y0 + height); }
};

// The rectangle the still is drawn into for frame k of frameCount, in a frameWidth x
// frameHeight frame, for an imageWidth x imageHeight still.
StillPlacement placeStill(qint64 k, qint64 frameCount, double frameWidth, double frameHeight, double imageWidth,
                          double imageHeight, const DepthFlowSettings &settings);

} // namespace quillvane
