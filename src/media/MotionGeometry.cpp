#include "media/MotionGeometry.h"

#include "media/MediaErrors.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>

namespace quillvane {

ClipFrames clipFrames(const DepthFlowSettings &settings)
{
    const qint64 fps = std::max<qint64>(settings.fps, 1);
    if (fps > std::numeric_limits<int32_t>::max())
        throw MotionError::settingsOutOfRange();
    const double frames = std::trunc(settings.durationSeconds * double(fps));
    // 2^63 is exactly representable; anything at or above it does not fit.
    if (!std::isfinite(frames) || frames >= 9223372036854775808.0)
        throw MotionError::settingsOutOfRange();
    return {int(fps), std::max<qint64>(qint64(frames), 1)};
}

namespace {

// The near edge (left or top) of a still drawn `drawn` long over a frame `frame` long, its
// subject's centre at fraction `at` of the still and reaching `half` either side.
double nearEdge(double frame, double drawn, double at, double half)
{
    at = std::clamp(at, 0.0, 1.0);
    half = std::clamp(half, 0.0, std::min(at, 1 - at));
    // Where the subject's centre may sit with the still covering the whole frame.
    double lowest = frame - (1 - at) * drawn;
    double highest = at * drawn;
    // A still smaller than the frame (a pull-out) is centred, as it cannot cover.
    if (!(lowest <= highest))
        return (frame - drawn) / 2;
    // Within that, where the whole subject stays in the frame, when it is small enough to. The
    // two ranges always meet then, as the subject lies within the still.
    if (2 * half * drawn <= frame) {
        lowest = std::max(lowest, half * drawn);
        highest = std::min(highest, frame - half * drawn);
    }
    return std::clamp(frame / 2, lowest, highest) - at * drawn;
}

} // namespace

StillPlacement placeStill(qint64 k, qint64 frameCount, double frameWidth, double frameHeight, double imageWidth,
                          double imageHeight, const DepthFlowSettings &settings, const SubjectFocus &subject)
{
    const double p = double(k) / double(frameCount);
    const double i = settings.intensity;
    const double imageAspect = imageWidth / imageHeight;
    const double frameAspect = frameWidth / frameHeight;
    // A still wider than the frame fills its height; otherwise (equal aspect too) its width.
    const double baseWidth = frameAspect < imageAspect ? imageAspect * frameHeight : frameWidth;
    const double baseHeight = frameAspect < imageAspect ? frameHeight : frameWidth / imageAspect;

    StillPlacement placement;
    placement.scale = (1 + settings.zoom * p) * (1 + 0.18 * i);
    placement.width = baseWidth * placement.scale;
    placement.height = baseHeight * placement.scale;
    placement.x0 = nearEdge(frameWidth, placement.width, subject.x, subject.halfWidth);
    const double top = nearEdge(frameHeight, placement.height, subject.y, subject.halfHeight);
    placement.y0 = frameHeight - top - placement.height;
    return placement;
}

} // namespace quillvane
