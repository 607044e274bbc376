#pragma once

#include "model/PipelineConfig.h"
#include "model/Records.h"
#include "store/Cancellation.h"
#include "store/Engines.h"
#include "store/TaskReport.h"

#include <QCoro/QCoroTask>
#include <QStringList>

#include <functional>
#include <memory>

namespace quillvane {

inline const QString timingLabel = QStringLiteral("Aligning timing");
// The running-task line when the words could not be found and the lines go by proportion.
inline const QString proportionalFallbackNote
    = QStringLiteral("Lyrics not found in the audio; laying the lines out by proportion");

// Lyric lines placed on a track, one segment per line, and the track's length in seconds as
// its tags give it (0: unknown).
struct TimedLines {
    QList<TranscriptSegment> segments;
    double duration = 0;
};

// Places the lines on the track at `audioPath`. With TimingMethod::words and an aligner that
// can run, each line spans its aligned words and keeps them; otherwise (or when the aligner
// cannot find the lyrics, which the report then says with proportionalFallbackNote) the track
// is transcribed and the lines laid over the timed chunks by proportion. Either engine may be
// null; fails with noEngineAvailable when the track must be heard and no transcriber can, or
// with the transcriber's error.
QCoro::Task<TimedLines> timeLines(QString audioPath, QStringList lines, TimingMethod method,
                                  std::shared_ptr<Transcriber> transcriber, std::shared_ptr<LyricsAligner> aligner,
                                  TaskReport report, CancelToken cancel);

// One segment per line from its aligned words (`words` holds one list per line): from the
// first word's start to the last word's end, with the words kept. Segments never start
// before the previous one, and one that would run into the next ends where it starts.
QList<TranscriptSegment> segmentsFromWords(const QStringList &lines, const QList<QList<AlignedWord>> &words);

// The lines aligned by `aligner` and made segments; throws what the aligner throws.
QCoro::Task<QList<TranscriptSegment>> timeLyrics(LyricsAligner &aligner, QString audioPath, QStringList lines,
                                                 std::function<void(QString)> onStatus, CancelToken cancel);

} // namespace quillvane
