#include "generation/FrameGeneration.h"

#include "generation/GenerationProgress.h"
#include "generation/ReferenceImages.h"
#include "model/Text.h"

#include <algorithm>

namespace quillvane {

QString noReferenceMessage(const StoryboardChunk &chunk)
{
    return QStringLiteral("Frame %1 has no reference image yet. Render the storyboard elements first, or mark the "
                          "character as in-frame.")
        .arg(chunk.index + 1);
}

bool isPending(const PlanElement &element)
{
    return !element.imageRemoteURL.has_value();
}

bool hasPendingElements(const Project &project)
{
    return project.plan && std::any_of(project.plan->elements.begin(), project.plan->elements.end(), isPending);
}

QString elementLabel(qsizetype position, qsizetype count, const QString &elementID)
{
    return QStringLiteral("Rendering element %1/%2: %3").arg(position + 1).arg(count).arg(elementID);
}

QString frameLabel(const StoryboardChunk &chunk)
{
    return QStringLiteral("Generating frame %1").arg(chunk.index + 1);
}

QString composeFramePrompt(const StoryboardChunk &chunk, const StyleGuidance &style, LyricsOnScreen lyrics,
                           const CharacterReference *character)
{
    const QString surface = chunk.surface.isEmpty() ? QStringLiteral("a believable physical surface in the scene")
                                                    : chunk.surface;
    QStringList sentences;
    sentences << withoutClosingPunctuation(style.mood) + QStringLiteral(". Medium: ")
            + withoutClosingPunctuation(style.medium) + QLatin1Char('.');
    if (paintsWords(lyrics))
        sentences << QStringLiteral("The exact text \"") + chunk.renderedText + QStringLiteral("\" is physically present on ")
                + surface + QStringLiteral(", spelled correctly and clearly legible.");
    else
        sentences << noWordsInFrame;
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

QString framePrompt(const StoryboardChunk &chunk, const StyleGuidance &style, LyricsOnScreen lyrics)
{
    if (paintsWords(lyrics))
        return chunk.imagePrompt.isEmpty() ? composeFramePrompt(chunk, style, lyrics) : chunk.imagePrompt;
    const bool namesWords = !chunk.renderedText.isEmpty() && chunk.imagePrompt.contains(chunk.renderedText);
    if (chunk.imagePrompt.isEmpty() || namesWords)
        return composeFramePrompt(chunk, style, lyrics);
    return withoutClosingPunctuation(chunk.imagePrompt) + QStringLiteral(". ") + noWordsInFrame;
}

QString frameNegativePrompt(const StyleGuidance &style, LyricsOnScreen lyrics)
{
    if (paintsWords(lyrics))
        return {};
    const QString own = withoutClosingPunctuation(style.negativePrompts);
    return own.isEmpty() ? wordsToAvoid : own + QStringLiteral(", ") + wordsToAvoid;
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

bool mayHaveReference(const Project &project, const StoryboardChunk &chunk)
{
    return !referenceImageURLs(project, chunk, {}).isEmpty() || !characterImagePaths(project).isEmpty();
}

QCoro::Task<ElementImage> renderElement(FalClient &client, QString workflow, QString shotPlan, QString elementID,
                                        QString destination, TaskReport report, CancelToken cancel)
{
    auto rendering = client.renderElement(workflow, QJsonValue(shotPlan), elementID, queueProgress(report), cancel);
    const FalClient::RenderedElement rendered = co_await rendering;
    auto downloading = client.download(rendered.imageURL, destination);
    co_await downloading;
    // The requested id is the one kept: the service's echo of it is not trusted to match.
    co_return ElementImage{elementID, rendered.imageURL, destination};
}

bool keepElementImage(Project &project, const ElementImage &image)
{
    if (!project.plan)
        return false;
    auto &elements = project.plan->elements;
    const auto target = std::find_if(elements.begin(), elements.end(),
                                     [&](const PlanElement &candidate) { return candidate.id == image.elementID; });
    if (target == elements.end())
        return false;
    target->imageRemoteURL = image.remoteURL;
    target->imageLocalPath = image.localPath;
    return true;
}

QCoro::Task<GeneratedFrame> generateFrame(FalClient &client, QString workflow, FrameJob job, MediaLibrary media,
                                          QUuid chunkID, TaskReport report, CancelToken cancel)
{
    // An element the built-in studio rendered has a loopback URL: its file goes instead.
    for (QString &reference : job.references) {
        const auto element = std::find_if(job.elements.begin(), job.elements.end(),
                                          [&](const PlanElement &e) { return e.imageRemoteURL == reference; });
        if (element == job.elements.end())
            continue;
        auto reaching = reachableImageURL(reference, element->imageLocalPath, 1024, client.baseURL());
        reference = co_await reaching;
        cancel.throwIfCancelled();
    }
    const QJsonObject input
        = FalClient::frameInput(job.prompt, job.stylePreset, job.references, job.shape, job.negativePrompt);
    auto painting = runImageJob(client, workflow, input, report, cancel);
    const QString imageURL = co_await painting;
    auto downloading = downloadFrame(client, imageURL, job.prompt, std::nullopt, media, chunkID);
    co_return co_await downloading;
}

QCoro::Task<QString> runImageJob(FalClient &client, QString workflow, QJsonObject input, TaskReport report,
                                 CancelToken cancel)
{
    auto submitting = client.submit(workflow, input);
    const SubmitResponse submission = co_await submitting;
    auto waiting = client.awaitCompletion(submission, queueProgress(report), cancel);
    co_await waiting;
    auto fetching = client.fetchResult(submission.responseURL);
    const QJsonObject result = co_await fetching;
    cancel.throwIfCancelled();
    const std::optional<QString> imageURL = FalClient::findImageURL(result);
    if (!imageURL)
        throw FalError::noImageInResponse();
    co_return *imageURL;
}

QCoro::Task<GeneratedFrame> downloadFrame(FalClient &client, QString imageURL, QString prompt,
                                          std::optional<QString> editRequest, MediaLibrary media, QUuid chunkID)
{
    GeneratedFrame frame;
    frame.localPath = media.framePath(chunkID, frame.id);
    auto downloading = client.download(imageURL, frame.localPath);
    co_await downloading;
    frame.remoteURL = imageURL; // later edits start from the remote copy
    frame.prompt = prompt;
    frame.editRequest = editRequest;
    frame.createdAt = now();
    co_return frame;
}

void applyNewFrame(Project &project, const QUuid &chunkID, GeneratedFrame frame)
{
    if (StoryboardChunk *chunk = project.chunkWithID(chunkID)) {
        if (chunk->frame)
            chunk->undoStack.append(*chunk->frame);
        chunk->redoStack.clear();
        chunk->frame = std::move(frame);
    }
    project.updatedAt = now();
}

} // namespace quillvane
