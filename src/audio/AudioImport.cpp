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

namespace quillvane {

namespace {

constexpr double clipLength = 30;
constexpr double shortestTailClip = 1;
constexpr qsizetype wordsPerEnd = 12;
constexpr double matchThreshold = 0.35;

Transcriber &transcriberOf(const ProjectStore &store)
{
    if (!store.services().transcriber)
        throw TranscriptionError::noEngineAvailable();
    return *store.services().transcriber;
}

// Deletes the verification clips however the check ends.
struct ClipFiles {
    QStringList paths;
    ~ClipFiles()
    {
        for (const QString &path : paths)
            QFile::remove(path);
    }
};

void apply(ProjectStore &store, const std::function<void(Project &)> &change)
{
    Project changed = store.project();
    change(changed);
    store.setProject(changed);
}

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

    const auto ignoreStatus = [](QString) {};
    auto headTranscription = transcriber.transcribe(clips.paths.at(0), ignoreStatus, cancel);
    const TranscriptionResult headHeard = co_await headTranscription;
    cancel.throwIfCancelled();
    auto tailTranscription = transcriber.transcribe(clips.paths.at(1), ignoreStatus, cancel);
    const TranscriptionResult tailHeard = co_await tailTranscription;
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

} // namespace

QCoro::Task<> importAudio(ProjectStore &store, QString path, CancelToken cancel)
{
    const QString audioPath = QFileInfo(path).absoluteFilePath();
    // Nothing of the project changes until the file is known to be a track.
    auto probing = AudioTools::probeAudio(audioPath);
    co_await probing;
    cancel.throwIfCancelled();
    auto reading = AudioTools::readMetadata(audioPath);
    const AudioMetadata metadata = co_await reading;
    cancel.throwIfCancelled();

    // The track is the project's from here on, whatever the lyrics step below decides.
    apply(store, [&](Project &project) {
        project.audioPath = audioPath;
        project.audioDuration = metadata.duration;
        if (metadata.title)
            project.title = *metadata.title;
        if (metadata.artist)
            project.artist = *metadata.artist;
        project.transcript.clear();
        project.chunks.clear();
    });

    // Lyrics that come with their times are the transcript as they stand: nothing to hear.
    for (const auto &found : {std::pair{lrcBeside(audioPath), LyricsSource::syncedFile},
                              std::pair{metadata.syncedLyrics, LyricsSource::syncedTag}}) {
        const std::optional<QString> &text = found.first;
        const LyricsSource source = found.second;
        const QList<TranscriptSegment> timed = text ? syncedTranscript(*text, metadata.duration) : QList<TranscriptSegment>{};
        if (timed.isEmpty())
            continue;
        QStringList lines;
        for (const TranscriptSegment &segment : timed)
            lines << segment.text;
        apply(store, [&](Project &project) {
            project.transcript = timed;
            project.rawLyrics = lines.join(QLatin1Char('\n'));
            project.lyricsSource = source;
            project.updatedAt = now();
        });
        co_return;
    }

    Transcriber &transcriber = transcriberOf(store);

    if (!metadata.lyrics) {
        auto transcription = transcriber.transcribe(audioPath, store.report().status, cancel);
        const TranscriptionResult heard = co_await transcription;
        cancel.throwIfCancelled();
        QStringList texts;
        for (const TimedChunk &chunk : heard.chunks)
            texts.append(chunk.text);
        apply(store, [&](Project &project) {
            project.transcript = segmentsFromChunks(heard.chunks);
            project.rawLyrics = texts.join(QLatin1Char('\n'));
            project.lyricsSource = LyricsSource::transcribed;
            project.updatedAt = now();
        });
        co_return;
    }

    const QString lyrics = *metadata.lyrics;
    apply(store, [&](Project &project) { project.rawLyrics = lyrics; });
    if (!transcriber.isAvailable()) {
        apply(store, [](Project &project) {
            project.lyricsSource = LyricsSource::embeddedUnverified;
            project.updatedAt = now();
        });
        co_return;
    }

    store.report().status(verifyingLabel);
    auto verification = verifyLyrics(transcriber, audioPath, lyrics, metadata.duration, cancel);
    const LyricsCheck check = co_await verification;
    cancel.throwIfCancelled();
    apply(store, [&check](Project &project) {
        project.lyricsSource = check.headMatches && check.tailMatches ? LyricsSource::embeddedVerified
                                                                       : LyricsSource::embeddedMismatch;
        project.updatedAt = now();
    });
}

QCoro::Task<Done> startImport(ProjectStore &store, QString path, CancelToken cancel)
{
    return store.run(
        importLabel, [&store, path](CancelToken token) { return importAudio(store, path, std::move(token)); }, cancel);
}

} // namespace quillvane
