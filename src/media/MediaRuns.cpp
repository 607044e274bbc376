#include "media/MediaRuns.h"

#include "model/PipelineConfig.h"

#include <algorithm>
#include <memory>

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

MotionRenderer &rendererOf(const ProjectStore &store)
{
    if (!store.services().motion)
        throw MissingEngineError(QStringLiteral("render motion"));
    return *store.services().motion;
}

// Renders the clip of one chunk with the motion settings of this moment and keeps its path
// in the chunk's frame; a chunk removed or unframed meanwhile is passed over.
QCoro::Task<> renderClip(ProjectStore &store, QUuid chunkID, QString imagePath, std::function<void(double)> onProgress,
                         CancelToken cancel)
{
    const QString clipPath = store.media().clipPath(chunkID);
    auto rendering = rendererOf(store).render(imagePath, store.project().motion, clipPath, std::move(onProgress), cancel);
    co_await rendering;
    cancel.throwIfCancelled();
    Project changed = store.project();
    const auto chunk = std::find_if(changed.chunks.begin(), changed.chunks.end(),
                                    [&](const StoryboardChunk &candidate) { return candidate.id == chunkID; });
    if (chunk == changed.chunks.end() || !chunk->frame)
        co_return;
    chunk->frame->motionClipPath = clipPath;
    store.setProject(changed);
}

void touch(ProjectStore &store)
{
    Project changed = store.project();
    changed.updatedAt = now();
    store.setProject(changed);
}

} // namespace

QCoro::Task<> runRenderMotion(ProjectStore &store, CancelToken cancel)
{
    // Ids and stills are taken now; the project may change while clips render.
    QList<std::pair<QUuid, QString>> accepted;
    for (const StoryboardChunk &chunk : store.project().chunks) {
        if (chunk.isAccepted())
            accepted.append({chunk.id, chunk.frame->localPath});
    }
    if (accepted.isEmpty())
        throw PipelineError(PipelineError::Case::notReviewed);
    rendererOf(store);

    const auto sink = store.progressSink();
    const double count = double(accepted.size());
    for (qsizetype i = 0; i < accepted.size(); ++i) {
        cancel.throwIfCancelled();
        auto onProgress = [sink, i, count](double part) { sink(std::clamp((double(i) + part) / count, 0.0, 1.0)); };
        auto rendering = renderClip(store, accepted[i].first, accepted[i].second, onProgress, cancel);
        co_await rendering;
    }
    touch(store);
}

QCoro::Task<> startRenderMotion(ProjectStore &store)
{
    return store.run(motionLabel, [&store](CancelToken cancel) { return runRenderMotion(store, std::move(cancel)); });
}

QCoro::Task<QString> runExportVideo(ProjectStore &store, CancelToken cancel)
{
    if (!store.project().allChunksAccepted())
        throw PipelineError(PipelineError::Case::notReviewed);
    if (!store.services().exporter)
        throw MissingEngineError(QStringLiteral("export video"));

    // Clips missing since the last motion run (a frame made afterwards) are rendered first;
    // a stored clip path is trusted without looking at the disk.
    QList<std::pair<QUuid, QString>> missing;
    for (const StoryboardChunk &chunk : store.project().chunks) {
        if (chunk.frame && !chunk.frame->motionClipPath)
            missing.append({chunk.id, chunk.frame->localPath});
    }
    for (const auto &[chunkID, imagePath] : missing) {
        cancel.throwIfCancelled();
        auto rendering = renderClip(store, chunkID, imagePath, {}, cancel);
        co_await rendering;
    }

    QList<StoryboardChunk> ordered = store.project().chunks;
    std::stable_sort(ordered.begin(), ordered.end(),
                     [](const StoryboardChunk &a, const StoryboardChunk &b) { return a.index < b.index; });
    QStringList clips;
    for (const StoryboardChunk &chunk : ordered) {
        if (chunk.frame && chunk.frame->motionClipPath)
            clips.append(*chunk.frame->motionClipPath);
    }
    const Project &project = store.project();
    const QString outputPath = store.media().exportPath(project);
    const std::optional<QString> audioPath
        = project.audioPath.isEmpty() ? std::nullopt : std::optional<QString>(project.audioPath);
    auto exporting = store.services().exporter->exportVideo(clips, audioPath, project.exportSettings, outputPath,
                                                            store.progressSink(), cancel);
    const QString written = co_await exporting;
    cancel.throwIfCancelled();
    touch(store);
    co_return written;
}

namespace {

QCoro::Task<> exportInto(ProjectStore &store, std::shared_ptr<std::optional<QString>> result, CancelToken cancel)
{
    auto exporting = runExportVideo(store, std::move(cancel));
    *result = co_await exporting;
}

} // namespace

QCoro::Task<std::optional<QString>> startExportVideo(ProjectStore &store)
{
    auto result = std::make_shared<std::optional<QString>>();
    auto running = store.run(exportLabel, [&store, result](CancelToken cancel) {
        return exportInto(store, result, std::move(cancel));
    });
    co_await running;
    co_return *result;
}

} // namespace quillvane
