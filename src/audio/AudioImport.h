#pragma once

#include "audio/AudioTools.h"
#include "model/Records.h"
#include "store/Cancellation.h"
#include "store/Engines.h"
#include "store/TaskReport.h"

#include <QCoro/QCoroTask>

#include <optional>
#include <utility>

namespace quillvane {

inline const QString importLabel = QStringLiteral("Reading audio");
inline const QString verifyingLabel = QStringLiteral("Verifying lyrics (first & last 30s)");

// Lyrics as import takes them: the text, where it came from, and the transcript it already
// makes (timed lyrics as they stand, or the heard chunks; empty for the file's own lyrics).
struct ImportedLyrics {
    QString text;
    LyricsSource source = LyricsSource::manual;
    QList<TranscriptSegment> transcript;
};

// A track as import reads it, before any of it is heard.
struct ImportedTrack {
    QString audioPath; // absolute
    AudioMetadata tags;
    // Lyrics that come with their times, which need no hearing: an .lrc file beside the track
    // with its base name, then a SYLT frame or a lyrics tag written as LRC.
    std::optional<ImportedLyrics> timedLyrics;
};

// Reads the track at `path`: its tags and any timed lyrics. Fails with AudioToolError::notAudio
// when the file is not a track.
QCoro::Task<ImportedTrack> readTrack(QString path, CancelToken cancel);

// The lyrics of a track without timed lyrics: the file's lyrics, checked against the first
// and last 30 seconds when the transcriber is available (taken unverified when it is not), or,
// when the file has none, transcribed from the audio. The transcriber's status lines go to
// the report.
QCoro::Task<ImportedLyrics> hearLyrics(ImportedTrack track, Transcriber &transcriber, TaskReport report,
                                       CancelToken cancel);

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
