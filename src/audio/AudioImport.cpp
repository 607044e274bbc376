#include "audio/AudioImport.h"

#include "audio/AudioTools.h"
#include "audio/Lyrics.h"
#include "audio/TranscriptionError.h"

#include <QFile>
#include <QFileInfo>

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
    Transcriber &transcriber = transcriberOf(store);

    if (!metadata.lyrics) {
        auto transcription = transcriber.transcribe(audioPath, store.statusSink(), cancel);
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

    store.statusSink()(verifyingLabel);
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
