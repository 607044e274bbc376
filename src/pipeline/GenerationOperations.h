#pragma once

// The generation stages as store operations: planning, elements, frames, edits and review.
// Each reads what its engine needs from the open project, runs the engine under the store's
// Run wrapper with the store's report, and applies each result in one project change.

#include "generation/FrameEditing.h"
#include "generation/FrameGeneration.h"
#include "generation/FrameReview.h"
#include "generation/Planning.h"
#include "generation/ReferenceImages.h"
#include "store/ProjectStore.h"

namespace quillvane {

// A fresh client for one generation operation, on the endpoint the settings choose now (so a
// changed setting takes effect with the next operation: the service's URL, or the offline
// studio, started on first use) and the shared HTTP session. Throws Error when the offline
// studio cannot start.
FalClient makeGenerationClient(const ProjectStore &store);

// Asks the planner for a storyboard and replaces the project's plan and chunks with it, the
// frames already made carried over. A failed or cancelled run leaves the previous storyboard
// as it was.
QCoro::Task<Done> startPlanning(ProjectStore &store, CancelToken cancel = {});

// Renders each plan element that has no image yet, in plan order, downloading each into the
// elements folder. Each finished element is kept at once, so a failure part-way leaves the
// earlier ones rendered and the rest pending. Done at once, with no task shown, when nothing
// is pending.
QCoro::Task<Done> startRenderElements(ProjectStore &store, CancelToken cancel = {});

// Generates (or regenerates) the frame of one chunk. An unknown chunk is done with nothing to
// do; a chunk without any reference image is refused and no task starts.
QCoro::Task<Done> startGenerateFrame(ProjectStore &store, QUuid chunkID, CancelToken cancel = {});

// Generates the frame of every chunk that has none, one after another under one token, and
// stops at the first that does not finish: a failure or a cancel, also one made between two
// frames, starts no later frame. Frames already made stay. Pending elements are a stage of
// their own, run before this one by the stage sequence.
QCoro::Task<Done> startGenerateMissingFrames(ProjectStore &store, CancelToken cancel = {});

// Sends the chunk's current frame and the request to the edit workflow and makes the result
// the new current frame. A blank request or an unknown chunk does nothing; a chunk whose frame
// has no remote URL is refused with noEditSourceMessage and no task starts. A failure leaves
// the chunk's history as it was. The edit starts from the frame current when it is called,
// whatever is undone meanwhile.
QCoro::Task<Done> editFrame(ProjectStore &store, QUuid chunkID, QString request);

// undo or redo on the chunk with that id, then updatedAt is touched (also when no chunk
// matched or there was nothing to move), in one change.
void undoFrame(ProjectStore &store, QUuid chunkID);
void redoFrame(ProjectStore &store, QUuid chunkID);

// Ticks or unticks one check of the chunk's current frame and touches updatedAt (also when no
// chunk or no frame matched), in one change.
void setReviewCheck(ProjectStore &store, QUuid chunkID, ReviewCheck check, bool value);
// Ticks all five checks of the current frames of the given chunks in one change (one step for
// the person who has looked at the frames and found them right); chunks without a frame are
// passed over, and each check can still be unticked afterwards.
void passAllChecks(ProjectStore &store, const QList<QUuid> &chunkIDs);
inline void passAllChecks(ProjectStore &store, QUuid chunkID)
{
    passAllChecks(store, QList<QUuid>{chunkID});
}

// Checks the images off the UI thread, then appends them to the character in one change; an
// unreadable image is the run's failure and adds nothing.
QCoro::Task<Done> startAddReferenceImages(ProjectStore &store, QUuid characterID, QStringList paths);

} // namespace quillvane
