#pragma once

#include "store/ProjectStore.h"

#include <utility>

namespace quillvane {

inline const QString importLabel = QStringLiteral("Reading audio");
inline const QString verifyingLabel = QStringLiteral("Verifying lyrics (first & last 30s)");

// Makes the track at `path` the project's audio: title and artist from its tags, the
// transcript and storyboard emptied, and the lyrics taken, in this order, from timed lyrics
// (an .lrc file beside the track with its base name, then a SYLT frame or a lyrics tag
// written as LRC), which become the transcript as they stand; from the file's lyrics
// (checked against the first and last 30 seconds when an engine is available); or
// transcribed from the audio.
QCoro::Task<> importAudio(ProjectStore &store, QString path, CancelToken cancel);

// importAudio through the store's Run wrapper, under its label.
QCoro::Task<Done> startImport(ProjectStore &store, QString path, CancelToken cancel = {});

struct ClipRange {
    double start = 0;
    double duration = 0;
    bool operator==(const ClipRange &) const = default;
};

// The timed lyrics of an LRC text laid on a track of `duration` seconds (0: unknown): lines
// at or past the track's end are dropped and the last one ends with the track. Empty when
// the text holds no usable times.
QList<TranscriptSegment> syncedTranscript(const QString &lrc, double duration);

// The head and tail stretches of a track of this length that verification transcribes.
std::pair<ClipRange, ClipRange> verificationClips(double duration);

struct LyricsCheck {
    bool headMatches = false;
    bool tailMatches = false;
    bool operator==(const LyricsCheck &) const = default;
};

// Whether the heard words of each clip text cover enough of the lyrics' first and last words.
LyricsCheck compareLyrics(const QString &lyrics, const QString &headText, const QString &tailText);

// Transcribes the head and tail clips of the track and compares them with the lyrics. The
// clips are deleted however the check ends.
QCoro::Task<LyricsCheck> verifyLyrics(Transcriber &transcriber, QString path, QString lyrics, double duration,
                                      CancelToken cancel);

} // namespace quillvane
