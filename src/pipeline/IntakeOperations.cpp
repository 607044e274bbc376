#include "pipeline/IntakeOperations.h"

#include "audio/Lyrics.h"
#include "audio/TranscriptionError.h"
#include "model/PipelineConfig.h"

#include <algorithm>

namespace quillvane {

namespace {

void apply(ProjectStore &store, const std::function<void(Project &)> &change)
{
    Project changed = store.project();
    change(changed);
    store.setProject(changed);
}

void takeLyrics(ProjectStore &store, const ImportedLyrics &lyrics)
{
    apply(store, [&lyrics](Project &project) {
        project.rawLyrics = lyrics.text;
        project.lyricsSource = lyrics.source;
        project.transcript = lyrics.transcript;
        project.updatedAt = now();
    });
}

} // namespace

QCoro::Task<> importAudio(ProjectStore &store, QString path, CancelToken cancel)
{
    // Nothing of the project changes until the file is known to be a track. (Tasks are held
    // in named variables before they are awaited: g++ 12 destroys the temporaries of a call
    // inside a co_await expression twice.)
    auto reading = readTrack(path, cancel);
    const ImportedTrack track = co_await reading;

    // The track is the project's from here on, whatever the lyrics step below decides.
    apply(store, [&track](Project &project) {
        project.audioPath = track.audioPath;
        project.audioDuration = track.tags.duration;
        if (track.tags.title)
            project.title = *track.tags.title;
        if (track.tags.artist)
            project.artist = *track.tags.artist;
        project.transcript.clear();
        project.chunks.clear();
    });

    if (track.timedLyrics) {
        takeLyrics(store, *track.timedLyrics);
        co_return;
    }
    const std::shared_ptr<Transcriber> transcriber = store.services().transcriber;
    if (!transcriber)
        throw TranscriptionError::noEngineAvailable();
    // The file's lyrics are the project's once read, even when checking them against the
    // audio fails.
    if (track.tags.lyrics)
        apply(store, [&track](Project &project) { project.rawLyrics = *track.tags.lyrics; });
    auto hearing = hearLyrics(track, *transcriber, store.report(), cancel);
    const ImportedLyrics lyrics = co_await hearing;
    takeLyrics(store, lyrics);
}

QCoro::Task<Done> startImport(ProjectStore &store, QString path, CancelToken cancel)
{
    return store.run(
        importLabel, [&store, path](CancelToken token) { return importAudio(store, path, std::move(token)); }, cancel);
}

QCoro::Task<> runTiming(ProjectStore &store, CancelToken cancel)
{
    const Project &project = store.project();
    if (project.audioPath.isEmpty())
        throw PipelineError(PipelineError::Case::missingAudio);
    // A transcript is never recomputed: it goes only when the lyrics or the track change.
    if (!project.transcript.isEmpty())
        co_return;
    const QStringList lines = lyricLines(project.rawLyrics);
    if (std::all_of(lines.begin(), lines.end(), [](const QString &line) { return line.trimmed().isEmpty(); }))
        throw PipelineError(PipelineError::Case::emptyLyrics);

    auto timing = timeLines(project.audioPath, lines, store.settings().timingMethod(), store.services().transcriber,
                            store.services().aligner, store.report(), cancel);
    const TimedLines timed = co_await timing;

    apply(store, [&timed](Project &project) {
        project.transcript = timed.segments;
        project.audioDuration = timed.duration;
        project.updatedAt = now();
    });
}

QCoro::Task<Done> startTiming(ProjectStore &store, CancelToken cancel)
{
    return store.run(
        timingLabel, [&store](CancelToken token) { return runTiming(store, std::move(token)); }, cancel);
}

} // namespace quillvane
