#pragma once

#include "store/Engines.h"

namespace quillvane {

// Assembles the finished video: the clips end to end on one H.264 track, scaled to fit the
// export's frame (its shape at its resolution), with the original audio (AAC) under them cut at the video's end, in an MP4 or
// QuickTime file with its index at the front. When every clip already has the output's size
// and encoding the frames are copied as they are, which gives the same frames, timing and
// order as a re-encode in a fraction of the time.
//
// The file is written beside its destination under a temporary name and renamed over it
// only when complete, so a failed or cancelled export leaves an earlier file whole.
class FfmpegVideoExporter : public VideoExporter {
public:
    struct Options {
        bool copyWhenPossible = true; // off: always re-encode (to compare the two)
    };

    FfmpegVideoExporter() = default;
    explicit FfmpegVideoExporter(Options options);

    // Runs exportNow on a pool thread. onProgress is called there.
    QCoro::Task<QString> exportVideo(QStringList clipPaths, std::optional<QString> audioPath, ExportSettings settings,
                                     QString outputPath, std::function<void(double)> onProgress,
                                     CancelToken cancel) override;

    QString exportNow(const QStringList &clipPaths, const std::optional<QString> &audioPath,
                      const ExportSettings &settings, const QString &outputPath,
                      const std::function<void(double)> &onProgress, const CancelToken &cancel) const;

private:
    Options m_options;
};

} // namespace quillvane
