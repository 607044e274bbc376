#pragma once

// Where the still sits in every frame of a parallax clip: a cover fit, enlarged by a constant
// that grows with intensity and pushed in linearly over the clip, its subject kept as near the
// middle of the frame as the cover allows and whole in every frame it fits.
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

// What the picture is about: its centre as fractions of the still's width and height from the
// still's top-left corner, and how far it reaches either side of that centre (0 when only the
// centre is known). The default is the middle of the still.
struct SubjectFocus {
    double x = 0.5;
    double y = 0.5;
    double halfWidth = 0;
    double halfHeight = 0;

    bool operator==(const SubjectFocus &) const = default;
};

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
// frameHeight frame, for an imageWidth x imageHeight still. Frames past the end (k >= frameCount)
// continue the same push-in, for a clip fading out under the next one. On each axis the
// subject's centre goes as near the frame's middle as the enlarged still still covering the frame
// allows, and no nearer the edge than keeps the whole subject in the frame, when it fits; so the
// push-in pans toward an off-centre subject rather than pushing it out of the picture.
StillPlacement placeStill(qint64 k, qint64 frameCount, double frameWidth, double frameHeight, double imageWidth,
                          double imageHeight, const DepthFlowSettings &settings, const SubjectFocus &subject = {});

} // namespace quillvane
