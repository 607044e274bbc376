#pragma once

// The nine stages of the pipeline in sidebar order, and how far along each one is, derived
// from the project alone so every screen agrees without extra state.

#include "model/Records.h"

#include <QList>
#include <QString>

#include <optional>

namespace quillvane {

enum class PipelineStage { intake = 0, timing, characters, storyboard, frames, style, motion, preview, exportStage };

enum class StageStatus { todo, inProgress, complete };

QList<PipelineStage> allPipelineStages();
std::optional<PipelineStage> pipelineStageFromRaw(int raw);
QString title(PipelineStage stage);
QString symbolName(PipelineStage stage);
// The stage's case name ("intake", ..., "export"), as the CLI reports it.
QString caseName(PipelineStage stage);

QString caseName(StageStatus status);

// lyrics: the project's effective lyrics on screen, which decides what counts as accepted.
StageStatus stageStatus(const Project &project, PipelineStage stage, LyricsOnScreen lyrics);

} // namespace quillvane
