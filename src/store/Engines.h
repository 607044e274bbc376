#pragma once

// The local engines the pipeline drives, as interfaces: the store only knows the operations,
// and each engine is supplied by its own library (audio, media). Every operation is a
// coroutine awaited on the UI thread; engines do their work elsewhere, may call their
// progress callbacks from any thread, and stop with Cancelled when the token is set.

#include "model/Records.h"
#include "store/Cancellation.h"

#include <QCoro/QCoroTask>
#include <QList>
#include <QSize>
#include <QString>

#include <functional>
#include <optional>

namespace quillvane {

struct TimedChunk {
    QString text;
    double start = 0;
    double end = 0;

    bool operator==(const TimedChunk &) const = default;
};

struct TranscriptionResult {
    QString text;
    QList<TimedChunk> chunks;

    bool operator==(const TranscriptionResult &) const = default;
};

class Transcriber {
public:
    virtual ~Transcriber() = default;

    // Display name of the engine.
    virtual QString name() const = 0;
    // Whether the engine can run now; evaluated afresh on every call.
    virtual bool isAvailable() const = 0;
    // onProgress receives short status lines for the running-task strip.
    virtual QCoro::Task<TranscriptionResult> transcribe(QString audioPath, std::function<void(QString)> onProgress,
                                                        CancelToken cancel) = 0;
};

// One lyric word where it is sung. `confidence` runs from 0 (not found: the times are
// guessed from its neighbours) to 1.
struct AlignedWord {
    QString text;
    double start = 0;
    double end = 0;
    double confidence = 0;

    bool operator==(const AlignedWord &) const = default;
};

// Finds where each word of known lyrics is sung.
class LyricsAligner {
public:
    virtual ~LyricsAligner() = default;

    // Display name of the engine.
    virtual QString name() const = 0;
    // Whether the engine can run now; evaluated afresh on every call.
    virtual bool isAvailable() const = 0;
    // The words of every line (split at blanks), in order, one list per line. Throws
    // AlignmentError when the lyrics cannot be found in the audio at all.
    virtual QCoro::Task<QList<QList<AlignedWord>>> align(QString audioPath, QStringList lines,
                                                         std::function<void(QString)> onProgress,
                                                         CancelToken cancel) = 0;
};

// Lettering: how the sung lyrics are set over the clips. Colours are "#RRGGBB"; the lettering
// layer picks a system family when `family` is not installed.
struct LetteringStyle {
    QString family = QStringLiteral("Anton");
    QString fill = QStringLiteral("#F7ECD2");    // words not yet sung
    QString lit = QStringLiteral("#FF6748");     // words being or already sung
    QString outline = QStringLiteral("#000000"); // around both, and the band behind them

    bool operator==(const LetteringStyle &) const = default;
};

// What one motion clip shows.
struct MotionClip {
    QString imagePath;
    DepthFlowSettings settings;
    // Frames of the clip at settings.fps; 0 takes settings.durationSeconds.
    qint64 frameCount = 0;
    // The first introFrames frames show the title card (title and artist over the still,
    // darkened and blurred) pushing in; the still's own push-in runs over the rest.
    qint64 introFrames = 0;
    QString title;
    QString artist;
    // Written into the clip, so a later run can tell whether it was made from the same request.
    QString key;

    // The clip before this one in the video. With settings.transition crossfade, this clip's
    // first frames show the previous still's push-in carried on past its end, fading out over
    // this clip's own picture; an empty path (the video's first clip) or a cut draws no blend.
    QString previousImagePath;
    qint64 previousFrameCount = 0; // frames of the previous still's push-in, its title card left out

    // The clip's pixels, in the video's shape; empty: the renderer's own size.
    QSize frameSize{};

    // Lettering: the lyric lines set over the clip as they are sung (none: no lettering), the
    // song's time at the clip's first frame, and how they look.
    QList<TranscriptSegment> lyrics = {};
    double songStart = 0;
    LetteringStyle lettering = {};

    bool operator==(const MotionClip &) const = default;
};

class MotionRenderer {
public:
    virtual ~MotionRenderer() = default;

    // Writes one clip; onProgress receives the fraction done, 0...1.
    virtual QCoro::Task<> render(MotionClip clip, QString outputPath, std::function<void(double)> onProgress,
                                 CancelToken cancel) = 0;
};

class VideoExporter {
public:
    virtual ~VideoExporter() = default;

    // Lays the clips end to end over the audio and returns the written file's path.
    virtual QCoro::Task<QString> exportVideo(QStringList clipPaths, std::optional<QString> audioPath,
                                             ExportSettings settings, QString outputPath,
                                             std::function<void(double)> onProgress, CancelToken cancel) = 0;
};

} // namespace quillvane
