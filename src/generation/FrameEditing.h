#pragma once

// Changing a chunk's frame by describing the change in words, and stepping through the
// versions that editing and regenerating leave behind. The history is a line of versions with
// a cursor: undoStack holds those before the cursor (oldest first), frame the one at it, and
// redoStack those after it (the most recently undone last).

#include "generation/FalClient.h"
#include "model/Records.h"
#include "storage/MediaLibrary.h"
#include "store/TaskReport.h"

namespace quillvane {

inline const QString noEditSourceMessage =
    QStringLiteral("This frame has no source URL to edit. Regenerate it first.");

// "Editing frame N", N counting from 1.
QString editingLabel(qint64 chunkIndex);

// Steps the chunk's frame back one version: the newest earlier version becomes current and
// the current one goes onto the redo stack. Nothing happens without an earlier version. Only
// moves versions: never makes or drops one, never touches an image file.
void undo(StoryboardChunk &chunk);
// The mirror of undo: the most recently undone version comes back.
void redo(StoryboardChunk &chunk);

// "Version N" (N = earlier versions + 1), then " · K redo" while K versions wait to be redone.
QString versionLabel(const StoryboardChunk &chunk);

// Whether the frame can be edited: the edit workflow starts from its remote copy.
bool hasEditSource(const std::optional<GeneratedFrame> &frame);

// Sends the source frame and the request to the edit workflow and downloads the result as a
// new frame of the chunk with chunkID: its prompt copied from the source, its editRequest the
// request. A frame the built-in studio of an earlier run painted is sent as its file.
QCoro::Task<GeneratedFrame> editedFrame(FalClient &client, QString workflow, GeneratedFrame source, QString request,
                                        MediaLibrary media, QUuid chunkID, TaskReport report, CancelToken cancel);

} // namespace quillvane
