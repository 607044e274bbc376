#pragma once

#include "store/Engines.h"

namespace quillvane {

// Renders the parallax clip of one still: a QuickTime movie with one H.264 track of
// width x height frames (or the clip's own frameSize), frame k shown at k / fps. Each frame is drawn straight into the
// encoder's frame buffer in its own Y'CbCr 4:2:0 layout, resampled bicubically from the still
// (decoded and converted once per clip) at the exact, unrounded place the motion gives.
// The encoder works on its own threads while the next frame is drawn. A clip may open with a
// title card, drawn the same way with a push-in of its own.
class FfmpegMotionRenderer : public MotionRenderer {
public:
    FfmpegMotionRenderer(qint64 width = 1920, qint64 height = 1080);

    // Runs renderNow on a pool thread. onProgress is called there.
    QCoro::Task<> render(MotionClip clip, QString outputPath, std::function<void(double)> onProgress,
                         CancelToken cancel) override;

    // The whole render on the calling thread. Any earlier file at outputPath is removed first,
    // and a render that fails or is cancelled removes what it had written.
    void renderNow(const MotionClip &clip, const QString &outputPath, const std::function<void(double)> &onProgress,
                   const CancelToken &cancel) const;
    // A clip of the still alone, durationSeconds long.
    void renderNow(const QString &imagePath, const DepthFlowSettings &settings, const QString &outputPath,
                   const std::function<void(double)> &onProgress, const CancelToken &cancel) const;

    qint64 width() const { return m_width; }
    qint64 height() const { return m_height; }

private:
    qint64 m_width;
    qint64 m_height;
};

} // namespace quillvane
