#include "audio/TimingRun.h"

#include "audio/AudioTools.h"
#include "audio/Lyrics.h"
#include "audio/TranscriptionError.h"
#include "model/PipelineConfig.h"

#include <algorithm>

namespace quillvane {

namespace {

Transcriber &transcriberOf(const ProjectStore &store)
{
    if (!store.services().transcriber)
        throw TranscriptionError::noEngineAvailable();
    return *store.services().transcriber;
}

} // namespace

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
    const QString audioPath = project.audioPath;

    // Tasks are held in named variables before they are awaited: g++ 12 destroys the
    // temporaries of a call inside a co_await expression twice.
    auto reading = AudioTools::readMetadata(audioPath);
    const AudioMetadata metadata = co_await reading;
    cancel.throwIfCancelled();
    auto transcription = transcriberOf(store).transcribe(audioPath, store.statusSink(), cancel);
    const TranscriptionResult heard = co_await transcription;
    cancel.throwIfCancelled();

    Project changed = store.project();
    changed.transcript = alignLines(lines, heard.chunks, metadata.duration);
    changed.audioDuration = metadata.duration;
    changed.updatedAt = now();
    store.setProject(changed);
}

QCoro::Task<> startTiming(ProjectStore &store)
{
    return store.run(timingLabel, [&store](CancelToken cancel) { return runTiming(store, std::move(cancel)); });
}

} // namespace quillvane
