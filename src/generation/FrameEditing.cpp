#include "generation/FrameEditing.h"

#include "generation/FrameGeneration.h"
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

bool hasEditSource(const std::optional<GeneratedFrame> &frame)
{
    return frame && frame->remoteURL && !frame->remoteURL->isEmpty();
}

// Every awaited task is a named local: g++ 12 destroys the temporaries of a full expression
// that holds co_await twice (here the converted strings and the progress target).
QCoro::Task<GeneratedFrame> editedFrame(FalClient &client, QString workflow, GeneratedFrame source, QString request,
                                        MediaLibrary media, QUuid chunkID, TaskReport report, CancelToken cancel)
{
    auto reaching = reachableImageURL(source.remoteURL.value_or(QString()), source.localPath, 2048, client.baseURL());
    const QString sourceURL = co_await reaching;
    cancel.throwIfCancelled();
    const QJsonObject input{{QStringLiteral("frame_to_edit"), QJsonArray{sourceURL}},
                            {QStringLiteral("users_edit_request"), request}};
    auto job = runImageJob(client, workflow, input, report, cancel);
    const QString imageURL = co_await job;
    auto downloading = downloadFrame(client, imageURL, source.prompt, request, media, chunkID);
    co_return co_await downloading;
}

} // namespace quillvane
