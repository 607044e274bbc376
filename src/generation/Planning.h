#pragma once

// Storyboard planning: the timed transcript, the characters' reference images and the
// user's concept go to the planner workflow; its answer becomes the project's plan and
// chunks. Frames already made survive a re-plan wherever a new chunk matches an old one.
// (Rendering the plan's elements is a separate operation.)

#include "generation/FalClient.h"
#include "generation/PlanParser.h"
#include "model/Records.h"
#include "store/TaskReport.h"

#include <QJsonObject>

namespace quillvane {

inline const QString planningLabel = QStringLiteral("Planning storyboard");

// One "[start-end] text" line per segment (times in seconds, one decimal), joined with line
// feeds and no line feed at the end: the timing the planner cuts frames from.
QString transcriptText(const QList<TranscriptSegment> &segments);

// The planner's input object; imageURLs are the encoded reference images, in order. When the
// lyrics are only sung, the style guidance asks for frames without words.
QJsonObject plannerInput(const Project &project, const QStringList &imageURLs, LyricsOnScreen lyrics);

// The new chunks, each carrying the frame and undo/redo history of the old chunk it matches:
// same chunkNumber first, else same lyricExcerpt (the first old chunk with a key wins). Old
// chunks that match nothing are dropped with their history.
QList<StoryboardChunk> carryOverFrames(const QList<StoryboardChunk> &oldChunks, QList<StoryboardChunk> newChunks);

// A storyboard as the planner made it: the plan and one chunk per planned frame.
using PlannedStoryboard = PlanParser::Parsed;

// Asks the planner workflow for a storyboard of the project (its transcript, artist, concept,
// characters' reference images and whether frames may carry words), the queue position going to the report. Fails with
// emptyLyrics or missingCharacter before anything is sent, then with noChunks or the
// client's error.
QCoro::Task<PlannedStoryboard> planStoryboard(FalClient &client, QString workflow, Project project,
                                              LyricsOnScreen lyrics, TaskReport report, CancelToken cancel);

// Makes the planned storyboard the project's: its plan, and its chunks carrying over the
// frames of the chunks they replace (see carryOverFrames); touches updatedAt.
void applyStoryboard(Project &project, PlannedStoryboard planned);

} // namespace quillvane
