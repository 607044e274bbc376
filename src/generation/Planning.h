#pragma once

// Storyboard planning: the timed transcript, the characters' reference images and the
// user's concept go to the planner workflow; its answer becomes the project's plan and
// chunks. Frames already made survive a re-plan wherever a new chunk matches an old one.
// (Rendering the plan's elements is a separate operation.)

#include "model/Records.h"
#include "store/ProjectStore.h"

#include <QJsonObject>

namespace quillvane {

inline const QString planningLabel = QStringLiteral("Planning storyboard");

// One "[start-end] text" line per segment (times in seconds, one decimal), joined with line
// feeds and no line feed at the end: the timing the planner cuts frames from.
QString transcriptText(const QList<TranscriptSegment> &segments);

// The planner's input object; imageURLs are the encoded reference images, in order.
QJsonObject plannerInput(const Project &project, const QStringList &imageURLs);

// The new chunks, each carrying the frame and undo/redo history of the old chunk it matches:
// same chunkNumber first, else same lyricExcerpt (the first old chunk with a key wins). Old
// chunks that match nothing are dropped with their history.
QList<StoryboardChunk> carryOverFrames(const QList<StoryboardChunk> &oldChunks, QList<StoryboardChunk> newChunks);

// Asks the planner for a storyboard and replaces the project's plan and chunks with it.
// Fails with emptyLyrics, missingCharacter, noChunks or the generation client's error; a
// failed or cancelled run leaves the previous storyboard as it was.
QCoro::Task<> planStoryboard(ProjectStore &store, CancelToken cancel);

// planStoryboard through the store's Run wrapper, under its label.
QCoro::Task<Done> startPlanning(ProjectStore &store, CancelToken cancel = {});

} // namespace quillvane
