#pragma once

// Changing a chunk's frame by describing the change in words, and stepping through the
// versions that editing and regenerating leave behind. The history is a line of versions with
// a cursor: undoStack holds those before the cursor (oldest first), frame the one at it, and
// redoStack those after it (the most recently undone last).

#include "model/Records.h"
#include "store/ProjectStore.h"

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

// Sends the chunk's current frame and the request to the edit workflow and makes the result
// the new current frame (its prompt copied from the source frame, its editRequest the trimmed
// request). A blank request or an unknown chunk does nothing; a chunk whose frame has no
// remote URL fails with noEditSourceMessage (also shown as lastError) and no task starts. Runs in the store's Run
// wrapper, so a failure becomes lastError and leaves the chunk's history as it was. The edit
// starts from the frame current when it is called, whatever is undone meanwhile.
QCoro::Task<Done> editFrame(ProjectStore &store, QUuid chunkID, QString request);

// undo or redo on the chunk with that id, then updatedAt is touched (also when no chunk
// matched or there was nothing to move). All or nothing, like every project change.
void undoFrame(ProjectStore &store, QUuid chunkID);
void redoFrame(ProjectStore &store, QUuid chunkID);

} // namespace quillvane
