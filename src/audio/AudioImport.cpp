#include "audio/AudioImport.h"

#include "audio/AudioTools.h"
#include "audio/Lyrics.h"
#include "audio/TranscriptionError.h"
#include "model/SyncedLyrics.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QUuid>

#include <algorithm>
#include <exception>

namespace quillvane {

namespace {

constexpr double clipLength = 30;
constexpr double shortestTailClip = 1;
constexpr qsizetype wordsPerEnd = 12;
constexpr double matchThreshold = 0.35;

// Deletes the verification clips however the check ends.
struct ClipFiles {
    QStringList paths;
    ~ClipFiles()
    {
        for (const QString &path : paths)
            QFile::remove(path);
    }
};

} // namespace

std::pair<ClipRange, ClipRange> verificationClips(double duration)
{
    const ClipRange head{0, std::min(duration, clipLength)};
    const double tailStart = std::max(duration - clipLength, 0.0);
    const ClipRange tail{tailStart, std::min(std::max(duration - tailStart, shortestTailClip), clipLength)};
    return {head, tail};
}

LyricsCheck compareLyrics(const QString &lyrics, const QString &headText, const QString &tailText)
{
    const QStringList words = lyricWords(lyrics);
    if (words.isEmpty())
        return {};
    const bool few = words.size() <= wordsPerEnd;
    const QStringList headExpected = few ? words : words.mid(0, wordsPerEnd);
    const QStringList tailExpected = few ? words : words.mid(words.size() - wordsPerEnd);
    return {wordOverlap(lyricWords(headText), headExpected) >= matchThreshold,
            wordOverlap(lyricWords(tailText), tailExpected) >= matchThreshold};
}

QCoro::Task<LyricsCheck> verifyLyrics(Transcriber &transcriber, QString path, QString lyrics, double duration,
                                      CancelToken cancel)
{
    const auto [head, tail] = verificationClips(duration);
    ClipFiles clips;
    // Tasks are held in named variables before they are awaited: g++ 12 destroys the
    // temporaries of a call inside a co_await expression twice.
    auto headTrim = AudioTools::trimClip(path, head.start, head.duration);
    clips.paths.append(co_await headTrim);
    auto tailTrim = AudioTools::trimClip(path, tail.start, tail.duration);
    clips.paths.append(co_await tailTrim);
    cancel.throwIfCancelled();

    // Both ends are heard at once: each transcription runs on a worker of its own (a decoder
    // or a process per call), so on two cores the check takes the time of one end.
    const auto ignoreStatus = [](QString) {};
    auto headTranscription = transcriber.transcribe(clips.paths.at(0), ignoreStatus, cancel);
    auto tailTranscription = transcriber.transcribe(clips.paths.at(1), ignoreStatus, cancel);
    // The tail is awaited whatever the head did, so no hearing outlives the clips it reads.
    TranscriptionResult headHeard;
    std::exception_ptr headFailure;
    try {
        headHeard = co_await headTranscription;
    } catch (...) {
        headFailure = std::current_exception();
    }
    const TranscriptionResult tailHeard = co_await tailTranscription;
    if (headFailure)
        std::rethrow_exception(headFailure);
    cancel.throwIfCancelled();
    co_return compareLyrics(lyrics, headHeard.text, tailHeard.text);
}

QList<TranscriptSegment> syncedTranscript(const QString &lrc, double duration)
{
    QList<TranscriptSegment> segments = parseLrc(lrc);
    if (duration > 0) {
        segments.removeIf([duration](const TranscriptSegment &segment) { return segment.start >= duration; });
        if (!segments.isEmpty()) {
            TranscriptSegment &last = segments.last();
            last.end = duration;
            for (TimedWord &word : last.words)
                word.end = std::min(word.end, duration);
            if (!last.words.isEmpty())
                last.words.last().end = duration;
        }
    }
    for (TranscriptSegment &segment : segments)
        segment.id = QUuid::createUuid();
    return segments;
}

namespace {

// The .lrc file beside the track with its base name (any case of the suffix), as text.
std::optional<QString> lrcBeside(const QString &audioPath)
{
    const QFileInfo track(audioPath);
    const QDir folder = track.dir();
    for (const QString &name : folder.entryList({track.completeBaseName() + QStringLiteral(".*")}, QDir::Files)) {
        if (syncedLyricsFormat(name) != QLatin1String("lrc") || QFileInfo(name).completeBaseName() != track.completeBaseName())
            continue;
        QFile file(folder.filePath(name));
        if (file.open(QIODevice::ReadOnly))
            return QString::fromUtf8(file.readAll());
    }
    return std::nullopt;
}

// The first timed lyrics found with the track, as the transcript they make.
std::optional<ImportedLyrics> timedLyricsOf(const QString &audioPath, const AudioMetadata &tags)
{
    for (const auto &found : {std::pair{lrcBeside(audioPath), LyricsSource::syncedFile},
                              std::pair{tags.syncedLyrics, LyricsSource::syncedTag}}) {
        const std::optional<QString> &text = found.first;
        const QList<TranscriptSegment> timed = text ? syncedTranscript(*text, tags.duration) : QList<TranscriptSegment>{};
        if (timed.isEmpty())
            continue;
        QStringList lines;
        for (const TranscriptSegment &segment : timed)
            lines << segment.text;
        return ImportedLyrics{lines.join(QLatin1Char('\n')), found.second, timed};
    }
    return std::nullopt;
}

} // namespace

QCoro::Task<ImportedTrack> readTrack(QString path, CancelToken cancel)
{
    const QString audioPath = QFileInfo(path).absoluteFilePath();
    auto probing = AudioTools::probeAudio(audioPath);
    co_await probing;
    cancel.throwIfCancelled();
    auto reading = AudioTools::readMetadata(audioPath);
    const AudioMetadata tags = co_await reading;
    cancel.throwIfCancelled();
    co_return ImportedTrack{audioPath, tags, timedLyricsOf(audioPath, tags)};
}

QCoro::Task<ImportedLyrics> hearLyrics(ImportedTrack track, Transcriber &transcriber, TaskReport report,
                                       CancelToken cancel)
{
    const AudioMetadata &tags = track.tags;
    if (!tags.lyrics) {
        const auto status = [report](QString line) { report.say(std::move(line)); };
        auto transcription = transcriber.transcribe(track.audioPath, status, cancel);
        const TranscriptionResult heard = co_await transcription;
        cancel.throwIfCancelled();
        QStringList texts;
        for (const TimedChunk &chunk : heard.chunks)
            texts.append(chunk.text);
        co_return ImportedLyrics{texts.join(QLatin1Char('\n')), LyricsSource::transcribed,
                                 segmentsFromChunks(heard.chunks)};
    }

    if (!transcriber.isAvailable())
        co_return ImportedLyrics{*tags.lyrics, LyricsSource::embeddedUnverified, {}};

    report.say(verifyingLabel);
    auto verification = verifyLyrics(transcriber, track.audioPath, *tags.lyrics, tags.duration, cancel);
    const LyricsCheck check = co_await verification;
    cancel.throwIfCancelled();
    co_return ImportedLyrics{*tags.lyrics,
                             check.headMatches && check.tailMatches ? LyricsSource::embeddedVerified
                                                                     : LyricsSource::embeddedMismatch,
                             {}};
}

} // namespace quillvane
