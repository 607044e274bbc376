#include "pipeline/MediaOperations.h"

#include "av/AudioClip.h"
#include "media/Lettering.h"
#include "model/ClipSpans.h"
#include "model/PipelineConfig.h"

#include <QPointer>

#include <algorithm>

namespace quillvane {

namespace {

// An engine missing from this build; the sentence says which.
class MissingEngineError : public Error {
public:
    explicit MissingEngineError(const QString &what)
        : Error(QStringLiteral("This build of Quillvane cannot %1.").arg(what))
    {
    }
};

std::shared_ptr<MotionRenderer> rendererOf(const ProjectStore &store)
{
    if (!store.services().motion)
        throw MissingEngineError(QStringLiteral("render motion"));
    return store.services().motion;
}

// Learns the track's length when the document does not know it yet, and lays the chunks'
// spans over the song as it is now. A song that ends before any chunk starts is refused
// before anything changes.
void settleSpans(ProjectStore &store)
{
    Project changed = store.project();
    if (!(changed.audioDuration > 0) && !changed.audioPath.isEmpty())
        changed.audioDuration = probeAudioDuration(changed.audioPath);
    followSong(changed);
    if (changed.motion.clipTiming == ClipTiming::followSong && !changed.chunks.isEmpty()
        && videoSchedule(changed).clips.isEmpty())
        throw Error(QStringLiteral("Every chunk starts after the end of the track, so no frame would be on screen. "
                                   "Time the lyrics again against this track."));
    store.setProject(changed);
}

// The video's clips as the project lays them out now (the accepted chunks' alone when asked),
// taken once: the project may change while they render.
ClipBatch clipBatch(const ProjectStore &store, bool acceptedOnly)
{
    const Project &project = store.project();
    const ClipSchedule schedule = videoSchedule(project);
    ClipBatch batch;
    batch.motion = project.motion;
    batch.title = project.title;
    batch.artist = project.artist;
    batch.motion.fps = schedule.fps;
    // Clips stay 1080 on their short side whatever the export's resolution; the export scales.
    batch.frameSize = frameSize(project.exportSettings.shape, ExportResolution::p1080);
    // Lettering: set the sung lyrics over the clips when the project's pictures call for it.
    if (setsWords(store.lyricsOnScreen())) {
        batch.lyrics = project.transcript;
        batch.lettering = letteringStyle(project.plan ? project.plan->palette : QStringList());
    }
    for (qsizetype i = 0; i < schedule.clips.size(); ++i) {
        const ClipSlot &slot = schedule.clips[i];
        const StoryboardChunk *chunk = project.chunkWithID(slot.chunkID);
        if (acceptedOnly && !chunk->isAccepted(store.lyricsOnScreen()))
            continue;
        batch.clips.append({slot.chunkID, chunk->frame ? chunk->frame->localPath : QString(), slot.frameCount,
                            slot.introFrames, store.document().media().clipPath(slot.chunkID),
                            chunk->frame ? chunk->frame->motionClipPath : std::nullopt, QString(), 0});
        batch.clips.last().songStart = schedule.seconds(slot.firstFrame); // lettering
        // The clip before in the finished video, whether or not it is rendered in this run, so a
        // clip made now is still current when the video is exported.
        if (i > 0) {
            const ClipSlot &before = schedule.clips[i - 1];
            const StoryboardChunk *previous = project.chunkWithID(before.chunkID);
            batch.clips.last().previousStillPath = previous->frame ? previous->frame->localPath : QString();
            batch.clips.last().previousFrameCount = before.frameCount - before.introFrames;
        }
    }
    return batch;
}

// Keeps each finished clip in its chunk's frame, one whole change per clip; a chunk removed
// or unframed meanwhile is passed over.
ClipWritten keepClip(ProjectStore &store)
{
    return [store = QPointer<ProjectStore>(&store)](const QUuid &chunkID, const QString &path) {
        if (!store)
            return;
        Project changed = store->project();
        StoryboardChunk *chunk = changed.chunkWithID(chunkID);
        if (!chunk || !chunk->frame)
            return;
        chunk->frame->motionClipPath = path;
        store->setProject(changed);
    };
}

void touch(ProjectStore &store)
{
    Project changed = store.project();
    changed.updatedAt = now();
    store.setProject(changed);
}

QCoro::Task<> runRenderMotion(ProjectStore &store, CancelToken cancel)
{
    if (store.project().acceptedCount(store.lyricsOnScreen()) == 0)
        throw PipelineError(PipelineError::Case::notReviewed);
    const std::shared_ptr<MotionRenderer> renderer = rendererOf(store);
    settleSpans(store);
    auto rendering = renderClips(clipBatch(store, true), *renderer, keepClip(store), store.report(), cancel);
    co_await rendering;
    touch(store);
}

QCoro::Task<QString> runExportVideo(ProjectStore &store, std::optional<bool> subtitles, CancelToken cancel)
{
    if (!store.project().allChunksAccepted(store.lyricsOnScreen()))
        throw PipelineError(PipelineError::Case::notReviewed);
    const std::shared_ptr<VideoExporter> exporter = store.services().exporter;
    if (!exporter)
        throw MissingEngineError(QStringLiteral("export video"));
    const std::shared_ptr<MotionRenderer> renderer = rendererOf(store);
    settleSpans(store);

    const Project &project = store.project();
    ExportSettings settings = project.exportSettings;
    settings.subtitles = subtitles.value_or(settings.subtitles);
    VideoOrder order{project.audioPath.isEmpty() ? std::nullopt : std::optional<QString>(project.audioPath), settings, store.document().media().exportPath(project), project.transcript};
    auto exporting = exportClips(clipBatch(store, false), std::move(order), *renderer, *exporter, keepClip(store),
                                 store.report(), cancel);
    const QString written = co_await exporting;
    touch(store);
    co_return written;
}

} // namespace

QCoro::Task<Done> startRenderMotion(ProjectStore &store, CancelToken cancel)
{
    return store.run(
        motionLabel, [&store](CancelToken token) { return runRenderMotion(store, std::move(token)); }, cancel);
}

QCoro::Task<Outcome<QString>> startExportVideo(ProjectStore &store, CancelToken cancel, std::optional<bool> subtitles)
{
    return store.run(
        exportLabel,
        [&store, subtitles](CancelToken token) { return runExportVideo(store, subtitles, std::move(token)); }, cancel);
}

} // namespace quillvane
