#include "pipeline/GenerationOperations.h"

#include "model/PipelineConfig.h"
#include "pipeline/GenerationBackend.h"
#include "store/ProjectEdits.h"

#include <memory>

namespace quillvane {

namespace {

QCoro::Task<> planIntoProject(ProjectStore &store, CancelToken cancel)
{
    FalClient client = makeGenerationClient(store);
    auto planning = planStoryboard(client, store.services().config.planWorkflow, store.project(), store.lyricsOnScreen(),
                                   store.report(), cancel);
    PlannedStoryboard planned = co_await planning;
    // The project may have changed while the planner worked; the storyboard replaces the
    // chunks as they are now, and all of it lands in one change.
    Project changed = store.project();
    applyStoryboard(changed, std::move(planned));
    store.setProject(changed);
}

QCoro::Task<> renderPendingElements(ProjectStore &store, CancelToken cancel)
{
    if (!store.project().plan)
        co_return;
    const StoryboardPlan plan = *store.project().plan;
    const qsizetype count = plan.elements.size();
    const QString workflow = store.services().config.elementWorkflow;
    FalClient client = makeGenerationClient(store);

    for (qsizetype position = 0; position < count; ++position) {
        const PlanElement &element = plan.elements.at(position);
        if (!isPending(element))
            continue;
        cancel.throwIfCancelled();
        store.session().setRunningTask(elementLabel(position, count, element.id));
        auto rendering = renderElement(client, workflow, plan.rawJSON, element.id,
                                       store.document().media().elementImagePath(element.id), store.report(), cancel);
        const ElementImage image = co_await rendering;
        // Kept at once, so a later failure does not lose it.
        Project changed = store.project();
        if (keepElementImage(changed, image))
            store.setProject(changed);
    }
    Project changed = store.project();
    changed.updatedAt = now();
    store.setProject(changed);
}

// The characters' upload data, made the first time a frame of the operation needs it and
// shared by every later frame of the same operation.
struct CharacterUploads {
    std::optional<QStringList> urls;
};

QCoro::Task<> paintChunk(ProjectStore &store, QUuid chunkID, QString prompt, QString negativePrompt, QString preset,
                         std::shared_ptr<CharacterUploads> uploads, CancelToken cancel)
{
    if (!uploads->urls) {
        auto encoding = characterReferenceURLs(characterImagePaths(store.project()));
        uploads->urls = co_await encoding;
        cancel.throwIfCancelled();
    }
    const Project &project = store.project();
    const StoryboardChunk *chunk = project.chunkWithID(chunkID);
    if (!chunk)
        co_return;
    FrameJob job{.prompt = prompt,
                 .stylePreset = preset,
                 .references = referenceImageURLs(project, *chunk, *uploads->urls),
                 .elements = project.plan ? project.plan->elements : QList<PlanElement>(),
                 .negativePrompt = negativePrompt};
    if (job.references.isEmpty())
        throw Error(noReferenceMessage(*chunk));
    job.shape = project.exportSettings.shape;
    FalClient client = makeGenerationClient(store);
    auto painting = generateFrame(client, store.services().config.frameWorkflow, std::move(job), store.document().media(), chunkID,
                                  store.report(), cancel);
    GeneratedFrame frame = co_await painting;
    // Re-read: the person may have edited, or a parallel job replaced this frame, meanwhile.
    Project changed = store.project();
    applyNewFrame(changed, chunkID, std::move(frame));
    store.setProject(changed);
}

QCoro::Task<Done> generateChunkFrame(ProjectStore &store, QUuid chunkID, std::shared_ptr<CharacterUploads> uploads,
                                     CancelToken cancel)
{
    const Project &project = store.project();
    const StoryboardChunk *chunk = project.chunkWithID(chunkID);
    if (!chunk)
        co_return Done::done();
    if (!mayHaveReference(project, *chunk))
        co_return store.refuse(noReferenceMessage(*chunk));
    const QString prompt = framePrompt(*chunk, project.style, store.lyricsOnScreen());
    const QString negativePrompt = frameNegativePrompt(project.style, store.lyricsOnScreen());
    const QString preset = project.plan ? project.plan->ideogramStylePreset : QString();
    auto running = store.run(
        frameLabel(*chunk),
        [&store, chunkID, prompt, negativePrompt, preset, uploads](CancelToken token) {
            return paintChunk(store, chunkID, prompt, negativePrompt, preset, uploads, std::move(token));
        },
        cancel);
    co_return co_await running;
}

QCoro::Task<> editInProject(ProjectStore &store, QUuid chunkID, GeneratedFrame source, QString request,
                            CancelToken cancel)
{
    FalClient client = makeGenerationClient(store);
    auto editing = editedFrame(client, store.settings().editWorkflow(), std::move(source), std::move(request), store.document().media(),
                               chunkID, store.report(), cancel);
    GeneratedFrame frame = co_await editing;
    Project changed = store.project();
    applyNewFrame(changed, chunkID, std::move(frame));
    store.setProject(changed);
}

// Applies `move` to the chunk on a copy of the project and hands the copy back whole, with
// updatedAt touched even when nothing moved.
void moveVersion(ProjectStore &store, const QUuid &chunkID, void (*move)(StoryboardChunk &))
{
    Project changed = store.project();
    if (StoryboardChunk *chunk = changed.chunkWithID(chunkID))
        move(*chunk);
    changed.updatedAt = now();
    store.setProject(changed);
}

QCoro::Task<> addCheckedImages(ProjectStore &store, QUuid characterID, QStringList paths)
{
    auto checking = checkReadableImages(paths);
    co_await checking;
    appendReferenceImages(store.document(), characterID, paths);
}

} // namespace

FalClient makeGenerationClient(const ProjectStore &store)
{
    const GenerationEndpoint endpoint = generationEndpoint(store);
    return FalClient(endpoint.baseURL, sharedNetwork(), endpoint.pollInterval, endpoint.timeout);
}

QCoro::Task<Done> startPlanning(ProjectStore &store, CancelToken cancel)
{
    return store.run(
        planningLabel, [&store](CancelToken token) { return planIntoProject(store, std::move(token)); }, cancel);
}

QCoro::Task<Done> startRenderElements(ProjectStore &store, CancelToken cancel)
{
    if (!hasPendingElements(store.project()))
        co_return Done::done();
    auto running = store.run(
        renderElementsLabel, [&store](CancelToken token) { return renderPendingElements(store, std::move(token)); },
        cancel);
    co_return co_await running;
}

QCoro::Task<Done> startGenerateFrame(ProjectStore &store, QUuid chunkID, CancelToken cancel)
{
    auto generating = generateChunkFrame(store, chunkID, std::make_shared<CharacterUploads>(), cancel);
    co_return co_await generating;
}

QCoro::Task<Done> startGenerateMissingFrames(ProjectStore &store, CancelToken cancel)
{
    const auto held = store.holdCancel(cancel);
    QList<QUuid> missing;
    for (const StoryboardChunk &chunk : store.project().chunks)
        if (!chunk.isFramed())
            missing << chunk.id;
    const auto uploads = std::make_shared<CharacterUploads>();
    for (const QUuid &chunkID : missing) {
        if (cancel.isCancelled())
            co_return Done::cancelled();
        auto generating = generateChunkFrame(store, chunkID, uploads, cancel);
        const Done outcome = co_await generating;
        if (!outcome.isDone())
            co_return outcome;
    }
    co_return Done::done();
}

QCoro::Task<Done> editFrame(ProjectStore &store, QUuid chunkID, QString request)
{
    const QString trimmed = request.trimmed();
    if (trimmed.isEmpty())
        co_return Done::done();
    const StoryboardChunk *chunk = store.project().chunkWithID(chunkID);
    if (!chunk)
        co_return Done::done();
    if (!hasEditSource(chunk->frame))
        co_return store.refuse(noEditSourceMessage);
    // Taken now, so the edit works on the picture the person saw when asking, even if an undo
    // changes the current frame while the job runs.
    const GeneratedFrame source = *chunk->frame;
    auto running = store.run(editingLabel(chunk->index), [&store, chunkID, source, trimmed](CancelToken cancel) {
        return editInProject(store, chunkID, source, trimmed, std::move(cancel));
    });
    co_return co_await running;
}

void undoFrame(ProjectStore &store, QUuid chunkID)
{
    moveVersion(store, chunkID, &undo);
}

void redoFrame(ProjectStore &store, QUuid chunkID)
{
    moveVersion(store, chunkID, &redo);
}

void setReviewCheck(ProjectStore &store, QUuid chunkID, ReviewCheck check, bool value)
{
    Project changed = store.project();
    setCheck(changed, chunkID, check, value);
    changed.updatedAt = now();
    store.setProject(changed);
}

void passAllChecks(ProjectStore &store, const QList<QUuid> &chunkIDs)
{
    Project changed = store.project();
    for (const QUuid &chunkID : chunkIDs) {
        for (const ReviewCheck check : allReviewChecks)
            setCheck(changed, chunkID, check, true);
    }
    changed.updatedAt = now();
    store.setProject(changed);
}

QCoro::Task<Done> startAddReferenceImages(ProjectStore &store, QUuid characterID, QStringList paths)
{
    return store.run(addImagesLabel, [&store, characterID, paths](CancelToken) {
        return addCheckedImages(store, characterID, paths);
    });
}

} // namespace quillvane
