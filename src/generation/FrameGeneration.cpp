#include "generation/FrameGeneration.h"

#include "generation/GenerationClient.h"
#include "generation/GenerationProgress.h"
#include "generation/ReferenceImages.h"
#include "model/PipelineConfig.h"
#include "model/Text.h"

#include <algorithm>
#include <memory>

namespace quillvane {

namespace {

bool isPending(const PlanElement &element)
{
    return !element.imageRemoteURL.has_value();
}

bool hasPendingElements(const Project &project)
{
    return project.plan && std::any_of(project.plan->elements.begin(), project.plan->elements.end(), isPending);
}

QString noReferenceMessage(const StoryboardChunk &chunk)
{
    return QStringLiteral("Frame %1 has no reference image yet. Render the storyboard elements first, or mark the "
                          "character as in-frame.")
        .arg(chunk.index + 1);
}

// The characters' upload data, made the first time a frame of the operation needs it and
// shared by every later frame of the same operation.
struct CharacterUploads {
    std::optional<QStringList> urls;
};

QStringList characterImagePaths(const Project &project)
{
    QStringList paths;
    for (const CharacterReference &character : project.characters)
        paths << character.referenceImagePaths;
    return paths;
}

QCoro::Task<> runGenerateFrame(ProjectStore &store, QUuid chunkID, QString prompt, QString preset,
                               std::shared_ptr<CharacterUploads> uploads, CancelToken cancel)
{
    if (!uploads->urls) {
        auto encoding = characterReferenceURLs(characterImagePaths(store.project()));
        uploads->urls = co_await encoding;
        cancel.throwIfCancelled();
    }
    const StoryboardChunk *chunk = store.project().chunkWithID(chunkID);
    if (!chunk)
        co_return;
    QStringList references = referenceImageURLs(store.project(), *chunk, *uploads->urls);
    if (references.isEmpty())
        throw Error(noReferenceMessage(*chunk));
    // An element the built-in studio rendered has a loopback URL: its file goes instead.
    const QList<PlanElement> elements = store.project().plan ? store.project().plan->elements : QList<PlanElement>();
    for (QString &reference : references) {
        const auto element = std::find_if(elements.begin(), elements.end(),
                                          [&](const PlanElement &e) { return e.imageRemoteURL == reference; });
        if (element == elements.end())
            continue;
        auto reaching = reachableImageURL(reference, element->imageLocalPath, 1024, store.generationBaseURL());
        reference = co_await reaching;
        cancel.throwIfCancelled();
    }
    FalClient client = makeGenerationClient(store);
    auto job = runImageJob(store, client, store.services().config.frameWorkflow,
                           FalClient::frameInput(prompt, preset, references), cancel);
    const QString imageURL = co_await job;
    auto applied = applyNewFrame(store, client, chunkID, imageURL, prompt, std::nullopt);
    co_await applied;
}

} // namespace

QString elementLabel(qsizetype position, qsizetype count, const QString &elementID)
{
    return QStringLiteral("Rendering element %1/%2: %3").arg(position + 1).arg(count).arg(elementID);
}

QString frameLabel(const StoryboardChunk &chunk)
{
    return QStringLiteral("Generating frame %1").arg(chunk.index + 1);
}

QString composeFramePrompt(const StoryboardChunk &chunk, const StyleGuidance &style,
                           const CharacterReference *character)
{
    const QString surface = chunk.surface.isEmpty() ? QStringLiteral("a believable physical surface in the scene")
                                                    : chunk.surface;
    QStringList sentences;
    sentences << withoutClosingPunctuation(style.mood) + QStringLiteral(". Medium: ")
            + withoutClosingPunctuation(style.medium) + QLatin1Char('.');
    sentences << QStringLiteral("The exact text \"") + chunk.renderedText + QStringLiteral("\" is physically present on ")
            + surface + QStringLiteral(", spelled correctly and clearly legible.");
    if (character) {
        QString featuring = QStringLiteral("Featuring ") + character->name
            + QStringLiteral(", consistent with the provided reference.");
        if (!withoutClosingPunctuation(character->notes).isEmpty())
            featuring += QLatin1Char(' ') + withoutClosingPunctuation(character->notes) + QLatin1Char('.');
        sentences << featuring;
    }
    if (!withoutClosingPunctuation(style.continuityNotes).isEmpty())
        sentences << QStringLiteral("Continuity: ") + withoutClosingPunctuation(style.continuityNotes) + QLatin1Char('.');
    sentences << QStringLiteral("Palette: ") + withoutClosingPunctuation(style.paletteName) + QLatin1Char('.');
    return sentences.join(QLatin1Char(' '));
}

QStringList referenceImageURLs(const Project &project, const StoryboardChunk &chunk, const QStringList &characterURLs)
{
    QStringList urls;
    if (project.plan) {
        const auto &elements = project.plan->elements;
        for (const QString &id : chunk.elementIdsUsed) {
            const auto element = std::find_if(elements.begin(), elements.end(),
                                              [&](const PlanElement &candidate) { return candidate.id == id; });
            if (element != elements.end() && element->imageRemoteURL)
                urls << *element->imageRemoteURL;
        }
    }
    // Characters go with every frame: the service keeps them consistent only when it sees them.
    urls << characterURLs;
    urls.removeDuplicates();
    return urls;
}

QCoro::Task<> runRenderElements(ProjectStore &store, CancelToken cancel)
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
        store.setRunningTask(elementLabel(position, count, element.id));
        auto rendering = client.renderElement(workflow, QJsonValue(plan.rawJSON), element.id, queueProgress(store),
                                              cancel);
        const FalClient::RenderedElement rendered = co_await rendering;
        const QString path = store.media().elementImagePath(element.id);
        auto downloading = client.download(rendered.imageURL, path);
        co_await downloading;

        // Kept at once, so a later failure does not lose it. The requested id is the one
        // looked up: the service's echo of it is not trusted to match.
        Project changed = store.project();
        if (changed.plan) {
            auto &elements = changed.plan->elements;
            const auto target = std::find_if(elements.begin(), elements.end(),
                                             [&](const PlanElement &candidate) { return candidate.id == element.id; });
            if (target != elements.end()) {
                target->imageRemoteURL = rendered.imageURL;
                target->imageLocalPath = path;
                store.setProject(changed);
            }
        }
    }
    Project changed = store.project();
    changed.updatedAt = now();
    store.setProject(changed);
}

QCoro::Task<Done> startRenderElements(ProjectStore &store, CancelToken cancel)
{
    if (!hasPendingElements(store.project()))
        co_return Done::done();
    auto running = store.run(
        renderElementsLabel, [&store](CancelToken token) { return runRenderElements(store, std::move(token)); },
        cancel);
    co_return co_await running;
}

namespace {

// Whether the chunk could have any reference at all, judged from the project alone: the
// images themselves are read only once the frame's task is showing.
bool mayHaveReference(const Project &project, const StoryboardChunk &chunk)
{
    return !referenceImageURLs(project, chunk, {}).isEmpty() || !characterImagePaths(project).isEmpty();
}

QCoro::Task<Done> generateFrame(ProjectStore &store, QUuid chunkID, std::shared_ptr<CharacterUploads> uploads,
                                CancelToken cancel)
{
    const Project &project = store.project();
    const StoryboardChunk *chunk = project.chunkWithID(chunkID);
    if (!chunk)
        co_return Done::done();
    if (!mayHaveReference(project, *chunk)) {
        store.setLastError(noReferenceMessage(*chunk));
        co_return Done::failed(noReferenceMessage(*chunk));
    }
    const QString prompt = chunk->imagePrompt.isEmpty() ? composeFramePrompt(*chunk, project.style)
                                                        : chunk->imagePrompt;
    const QString preset = project.plan ? project.plan->ideogramStylePreset : QString();
    const QString label = frameLabel(*chunk);
    auto running = store.run(
        label,
        [&store, chunkID, prompt, preset, uploads](CancelToken token) {
            return runGenerateFrame(store, chunkID, prompt, preset, uploads, std::move(token));
        },
        cancel);
    co_return co_await running;
}

} // namespace

QCoro::Task<Done> startGenerateFrame(ProjectStore &store, QUuid chunkID, CancelToken cancel)
{
    auto generating = generateFrame(store, chunkID, std::make_shared<CharacterUploads>(), cancel);
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
        auto generating = generateFrame(store, chunkID, uploads, cancel);
        const Done outcome = co_await generating;
        if (!outcome.isDone())
            co_return outcome;
    }
    co_return Done::done();
}

QCoro::Task<QString> runImageJob(ProjectStore &store, FalClient &client, QString workflow, QJsonObject input,
                                 CancelToken cancel)
{
    auto submitting = client.submit(workflow, input);
    const SubmitResponse submission = co_await submitting;
    auto waiting = client.awaitCompletion(submission, queueProgress(store), cancel);
    co_await waiting;
    auto fetching = client.fetchResult(submission.responseURL);
    const QJsonObject result = co_await fetching;
    cancel.throwIfCancelled();
    const std::optional<QString> imageURL = FalClient::findImageURL(result);
    if (!imageURL)
        throw FalError::noImageInResponse();
    co_return *imageURL;
}

QCoro::Task<> applyNewFrame(ProjectStore &store, FalClient &client, QUuid chunkID, QString imageURL, QString prompt,
                            std::optional<QString> editRequest)
{
    GeneratedFrame frame;
    frame.localPath = store.media().framePath(chunkID, frame.id);
    // A failed download throws here, before the chunk is touched.
    auto downloading = client.download(imageURL, frame.localPath);
    co_await downloading;

    frame.remoteURL = imageURL; // later edits start from the remote copy
    frame.prompt = prompt;
    frame.editRequest = editRequest;
    frame.createdAt = now();

    // Re-read: the user may have edited, or a parallel job replaced this frame, meanwhile.
    Project changed = store.project();
    if (StoryboardChunk *chunk = changed.chunkWithID(chunkID)) {
        if (chunk->frame)
            chunk->undoStack.append(*chunk->frame);
        chunk->redoStack.clear();
        chunk->frame = frame;
    }
    changed.updatedAt = now();
    store.setProject(changed);
}

} // namespace quillvane
