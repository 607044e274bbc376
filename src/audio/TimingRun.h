#pragma once

#include "store/ProjectStore.h"

namespace quillvane {

inline const QString timingLabel = QStringLiteral("Aligning timing");
// The running-task line when the words could not be found and the lines go by proportion.
inline const QString proportionalFallbackNote
    = QStringLiteral("Lyrics not found in the audio; laying the lines out by proportion");

// Places the project's lyric lines on its track, one transcript segment per line. With the
// timing method "words" and an aligner that can run, each line spans its aligned words and
// keeps them; otherwise (or when the aligner cannot find the lyrics, which the running-task
// line then says) the track is transcribed and the lines laid over the timed chunks by
// proportion. Does nothing while a transcript exists. Fails with missingAudio, emptyLyrics or
// the transcriber's error, leaving the project as it was.
QCoro::Task<> runTiming(ProjectStore &store, CancelToken cancel);

// runTiming through the store's Run wrapper, under its label.
QCoro::Task<Done> startTiming(ProjectStore &store, CancelToken cancel = {});

// One segment per line from its aligned words (`words` holds one list per line): from the
// first word's start to the last word's end, with the words kept. Segments never start
// before the previous one, and one that would run into the next ends where it starts.
QList<TranscriptSegment> segmentsFromWords(const QStringList &lines, const QList<QList<AlignedWord>> &words);

// The lines aligned by `aligner` and made segments; throws what the aligner throws.
QCoro::Task<QList<TranscriptSegment>> timeLyrics(LyricsAligner &aligner, QString audioPath, QStringList lines,
                                                 std::function<void(QString)> onStatus, CancelToken cancel);

} // namespace quillvane
