#include "generation/Planning.h"

#include "generation/GenerationClient.h"
#include "generation/GenerationProgress.h"
#include "generation/PlanParser.h"
#include "generation/ReferenceImages.h"
#include "model/PipelineConfig.h"

#include <QHash>
#include <QJsonArray>

#include <cmath>

namespace quillvane {

namespace {

// Reference images of every character, characters in project order.
QStringList referenceImagePaths(const Project &project)
{
    QStringList paths;
    for (const CharacterReference &character : project.characters)
        paths.append(character.referenceImagePaths);
    return paths;
}

qint64 durationSeconds(const QList<TranscriptSegment> &segments)
{
    if (segments.isEmpty())
        return 0;
    double latest = segments.first().end;
    for (const TranscriptSegment &segment : segments)
        latest = std::max(latest, segment.end);
    // std::round takes halves away from zero, as the planner's duration expects.
    return qint64(std::round(latest));
}

} // namespace

QString transcriptText(const QList<TranscriptSegment> &segments)
{
    QStringList lines;
    lines.reserve(segments.size());
    for (const TranscriptSegment &segment : segments)
        lines.append(QString::asprintf("[%.1f-%.1f] ", segment.start, segment.end) + segment.text);
    return lines.join(QLatin1Char('\n'));
}

QJsonObject plannerInput(const Project &project, const QStringList &imageURLs)
{
    // A concept of blanks only is still the user's word, so it is not trimmed away.
    const QString guidance = project.conceptPrompt.isEmpty() ? project.style.continuityNotes : project.conceptPrompt;
    return {
        {QStringLiteral("artist"), project.artist},
        {QStringLiteral("duration_seconds"), durationSeconds(project.transcript)},
        {QStringLiteral("transcript"), transcriptText(project.transcript)},
        {QStringLiteral("style_guidance"), guidance},
        {QStringLiteral("image_urls"), QJsonArray::fromStringList(imageURLs)},
    };
}

QList<StoryboardChunk> carryOverFrames(const QList<StoryboardChunk> &oldChunks, QList<StoryboardChunk> newChunks)
{
    QHash<qint64, const StoryboardChunk *> byNumber;
    QHash<QString, const StoryboardChunk *> byLyric;
    for (const StoryboardChunk &old : oldChunks) {
        if (!byNumber.contains(old.chunkNumber))
            byNumber.insert(old.chunkNumber, &old);
        if (!byLyric.contains(old.lyricExcerpt))
            byLyric.insert(old.lyricExcerpt, &old);
    }
    for (StoryboardChunk &chunk : newChunks) {
        const StoryboardChunk *old = byNumber.value(chunk.chunkNumber);
        if (!old)
            old = byLyric.value(chunk.lyricExcerpt);
        if (!old)
            continue;
        chunk.frame = old->frame;
        chunk.undoStack = old->undoStack;
        chunk.redoStack = old->redoStack;
    }
    return newChunks;
}

QCoro::Task<> planStoryboard(ProjectStore &store, CancelToken cancel)
{
    // Checked before anything is sent, in the order the user fixes them.
    if (store.project().transcript.isEmpty())
        throw PipelineError(PipelineError::Case::emptyLyrics);
    auto encoding = characterReferenceURLs(referenceImagePaths(store.project()));
    const QStringList imageURLs = co_await encoding;
    cancel.throwIfCancelled();
    if (imageURLs.isEmpty())
        throw PipelineError(PipelineError::Case::missingCharacter);

    const QJsonObject input = plannerInput(store.project(), imageURLs);
    const QString workflow = store.services().config.planWorkflow;
    FalClient client = makeGenerationClient(store);
    const SubmitResponse submission = co_await client.submit(workflow, input);
    co_await client.awaitCompletion(submission, queueProgress(store), cancel);
    cancel.throwIfCancelled();
    const QJsonObject result = co_await client.fetchResult(submission.responseURL);
    cancel.throwIfCancelled();
    PlanParser::Parsed parsed = PlanParser::parse(result);

    // The project may have changed while the planner worked; the storyboard replaces the
    // chunks as they are now, and all of it lands in one change.
    Project changed = store.project();
    changed.chunks = carryOverFrames(changed.chunks, std::move(parsed.chunks));
    changed.plan = std::move(parsed.plan);
    changed.updatedAt = now();
    store.setProject(changed);
}

QCoro::Task<Done> startPlanning(ProjectStore &store, CancelToken cancel)
{
    return store.run(
        planningLabel, [&store](CancelToken token) { return planStoryboard(store, std::move(token)); }, cancel);
}

} // namespace quillvane
