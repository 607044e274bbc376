#pragma once

// The motion and export engines: render the clips of a video, each only when its file was not
// made from the same request, and lay them end to end over the song into the finished video.

#include "store/Engines.h"
#include "store/TaskReport.h"

#include <QHash>
#include <QUuid>

#include <functional>
#include <optional>

namespace quillvane {

// One clip of the video as the engines get it.
struct ClipOrder {
    QUuid chunkID;
    QString stillPath;
    qint64 frameCount = 1;
    qint64 introFrames = 0; // frames of title card before the still
    QString path;           // where the clip is written
    // The clip the project holds for the chunk now; the file there is reused when it is this
    // path and was made from the same still, frames and motion.
    std::optional<QString> keptPath;

    // The clip before this one in the video, which this one cross-fades from: its still (empty
    // for the first clip or one whose chunk has no still) and the frames of its push-in, title
    // card left out.
    QString previousStillPath;
    qint64 previousFrameCount = 0;
    // Lettering: the song's time at the clip's first frame.
    double songStart = 0;
};

// The clips of one run in playback order, with what they share.
struct ClipBatch {
    QList<ClipOrder> clips;
    DepthFlowSettings motion; // fps is the video's frame rate
    // Lettered on the title card, and named in the .lrc beside the video.
    QString title;
    QString artist;

    // The clips' pixels, in the video's shape; empty: the renderer's own size.
    QSize frameSize{};
    // Lettering: the lines set over the clips as they are sung (none: no lettering), and how
    // they look. Each clip gets the lines it shows.
    QList<TranscriptSegment> lyrics = {};
    LetteringStyle lettering = {};
};

// Told each clip's chunk and path as soon as the clip is written, on the thread that awaits
// the run, so the clips already made are kept when a later one fails or the run is cancelled.
using ClipWritten = std::function<void(const QUuid &chunkID, const QString &path)>;

// Renders the clips of the batch that are not current, one after another; progress runs from
// 0 to 1 across the frames rendered. Returns the path of every clip of the batch by chunk.
QCoro::Task<QHash<QUuid, QString>> renderClips(ClipBatch batch, MotionRenderer &renderer, ClipWritten written,
                                               TaskReport report, CancelToken cancel);

// What the video is made of besides its clips, and where it goes.
struct VideoOrder {
    std::optional<QString> audioPath;
    ExportSettings settings;
    QString outputPath;
    // With settings.subtitles on and lines here, NAME.srt and NAME.lrc are written beside the
    // video.
    QList<TranscriptSegment> transcript;
};

// Renders the clips that are not current (the first 80 % of the progress, when there are
// any), then lays every clip of the batch end to end over the audio and returns the written
// file's path.
QCoro::Task<QString> exportClips(ClipBatch batch, VideoOrder order, MotionRenderer &renderer,
                                 VideoExporter &exporter, ClipWritten written, TaskReport report,
                                 CancelToken cancel);

// Writes timed lyrics to path, as SubRip or LRC by its suffix (.srt, .lrc), whole or not at
// all. Throws Error with a sentence naming the file when there are no lines, the suffix is
// neither, or the file cannot be written.
void writeLyricsFile(const QList<TranscriptSegment> &lines, const QString &title, const QString &artist,
                     const QString &path);
inline void writeLyricsFile(const Project &project, const QString &path)
{
    writeLyricsFile(project.transcript, project.title, project.artist, path);
}

} // namespace quillvane
