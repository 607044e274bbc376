#include "media/MotionGeometry.h"

#include "media/MediaErrors.h"

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

StillPlacement placeStill(qint64 k, qint64 frameCount, double frameWidth, double frameHeight, double imageWidth,
                          double imageHeight, const DepthFlowSettings &settings)
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
    const double fx = 0.5 - 0.35 * i * p;
    const double fy = 0.5 - 0.2 * i * p;
    placement.x0 = -(placement.width - frameWidth) * fx;
    placement.y0 = -(placement.height - frameHeight) * fy;
    return placement;
}

} // namespace quillvane
