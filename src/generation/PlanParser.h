#pragma once

// Reads the storyboard planner's result document into a plan and its chunks. The planner is
// a language model behind a workflow, so its output is loosely shaped: the plan may sit inside
// output objects or arrays, or arrive as JSON text inside a string, fenced or surrounded by
// prose. The parser searches for the parts it needs instead of expecting one layout.

#include "model/Records.h"

#include <QJsonObject>
#include <QList>

namespace quillvane::PlanParser {

struct Parsed {
    StoryboardPlan plan;
    QList<StoryboardChunk> chunks; // one per planned frame, in the planner's order
};

// Throws PipelineError(noChunks) when the document holds no frame list or an empty one.
// Every chunk gets a fresh id; frames and edit history are for the caller to carry over.
Parsed parse(const QJsonObject &json);

} // namespace quillvane::PlanParser
