#include "generation/Planning.h"

#include "generation/FrameGeneration.h"
#include "generation/GenerationProgress.h"
#include "generation/ReferenceImages.h"
#include "model/PipelineConfig.h"

#include <QHash>
#include <QJsonArray>

#include <cmath>

namespace quillvane {

namespace {

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

QJsonObject plannerInput(const Project &project, const QStringList &imageURLs, LyricsOnScreen lyrics)
{
    // A concept of blanks only is still the user's word, so it is not trimmed away.
    QString guidance = project.conceptPrompt.isEmpty() ? project.style.continuityNotes : project.conceptPrompt;
    if (!paintsWords(lyrics))
        guidance += (guidance.isEmpty() ? QString() : QStringLiteral(" ")) + noWordsInPlan;
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

QCoro::Task<PlannedStoryboard> planStoryboard(FalClient &client, QString workflow, Project project,
                                              LyricsOnScreen lyrics, TaskReport report, CancelToken cancel)
{
    // Checked before anything is sent, in the order the person fixes them.
    if (project.transcript.isEmpty())
        throw PipelineError(PipelineError::Case::emptyLyrics);
    auto encoding = characterReferenceURLs(characterImagePaths(project));
    const QStringList imageURLs = co_await encoding;
    cancel.throwIfCancelled();
    if (imageURLs.isEmpty())
        throw PipelineError(PipelineError::Case::missingCharacter);

    auto submitting = client.submit(workflow, plannerInput(project, imageURLs, lyrics));
    const SubmitResponse submission = co_await submitting;
    auto waiting = client.awaitCompletion(submission, queueProgress(report), cancel);
    co_await waiting;
    cancel.throwIfCancelled();
    auto fetching = client.fetchResult(submission.responseURL);
    const QJsonObject result = co_await fetching;
    cancel.throwIfCancelled();
    co_return PlanParser::parse(result);
}

void applyStoryboard(Project &project, PlannedStoryboard planned)
{
    project.chunks = carryOverFrames(project.chunks, std::move(planned.chunks));
    project.plan = std::move(planned.plan);
    project.updatedAt = now();
}

} // namespace quillvane
