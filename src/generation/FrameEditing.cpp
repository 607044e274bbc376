#include "generation/FrameEditing.h"

#include "generation/FrameGeneration.h"
#include "generation/GenerationClient.h"
#include "generation/GenerationProgress.h"
#include "generation/ReferenceImages.h"

#include <QJsonArray>

#include <algorithm>

namespace quillvane {

namespace {

// Moves the newest version of `from` to the current frame, parking the current one on `to`.
void step(StoryboardChunk &chunk, QList<GeneratedFrame> &from, QList<GeneratedFrame> &to)
{
    if (from.isEmpty())
        return;
    GeneratedFrame next = from.takeLast();
    if (chunk.frame)
        to.append(*chunk.frame);
    chunk.frame = std::move(next);
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

// Every awaited task is a named local: g++ 12 destroys the temporaries of a full expression
// that holds co_await twice (here the converted strings and the progress target).
QCoro::Task<> runEdit(ProjectStore &store, QUuid chunkID, QString sourceURL, QString sourcePath, QString prompt,
                      QString request, CancelToken cancel)
{
    FalClient client = makeGenerationClient(store);
    // A frame the built-in studio of an earlier run painted is sent as its file.
    auto reaching = reachableImageURL(sourceURL, sourcePath, 2048, store.generationBaseURL());
    const QString source = co_await reaching;
    cancel.throwIfCancelled();
    const QJsonObject input{{QStringLiteral("frame_to_edit"), QJsonArray{source}},
                            {QStringLiteral("users_edit_request"), request}};
    auto job = runImageJob(store, client, store.editWorkflow(), input, cancel);
    const QString imageURL = co_await job;
    auto applying = applyNewFrame(store, client, chunkID, imageURL, prompt, request);
    co_await applying;
}

} // namespace

QString editingLabel(qint64 chunkIndex)
{
    return QStringLiteral("Editing frame %1").arg(chunkIndex + 1);
}

void undo(StoryboardChunk &chunk)
{
    step(chunk, chunk.undoStack, chunk.redoStack);
}

void redo(StoryboardChunk &chunk)
{
    step(chunk, chunk.redoStack, chunk.undoStack);
}

QString versionLabel(const StoryboardChunk &chunk)
{
    QString label = QStringLiteral("Version %1").arg(chunk.undoStack.size() + 1);
    if (!chunk.redoStack.isEmpty())
        label += QStringLiteral(" · %1 redo").arg(chunk.redoStack.size());
    return label;
}

QCoro::Task<Done> editFrame(ProjectStore &store, QUuid chunkID, QString request)
{
    const QString trimmed = request.trimmed();
    if (trimmed.isEmpty())
        co_return Done::done();
    const StoryboardChunk *chunk = store.project().chunkWithID(chunkID);
    if (!chunk)
        co_return Done::done();
    if (!chunk->frame || !chunk->frame->remoteURL || chunk->frame->remoteURL->isEmpty()) {
        store.setLastError(noEditSourceMessage);
        co_return Done::failed(noEditSourceMessage);
    }
    // Taken now, so the edit works on the picture the user saw when asking, even if an undo
    // changes the current frame while the job runs.
    const QString sourceURL = *chunk->frame->remoteURL;
    const QString sourcePath = chunk->frame->localPath;
    const QString prompt = chunk->frame->prompt;
    const QString label = editingLabel(chunk->index);
    auto running = store.run(label, [&store, chunkID, sourceURL, sourcePath, prompt, trimmed](CancelToken cancel) {
        return runEdit(store, chunkID, sourceURL, sourcePath, prompt, trimmed, std::move(cancel));
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

} // namespace quillvane
