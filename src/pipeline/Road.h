#pragma once

// The stage sequence bound to the operations of this build.

#include "pipeline/StageSequence.h"

namespace quillvane {

// What one trip along the road is asked to do beyond the project's own settings: the track
// the intake stage imports, and whether the export writes the lyrics files beside the video
// (unset: the project's setting). Never written into the project.
struct RoadRequest {
    QString audioPath;
    std::optional<bool> subtitles;
};

RoadSteps roadSteps(RoadRequest request = {});

// runStages over roadSteps(request): the road from first to last stage under one cancel.
QCoro::Task<Outcome<std::optional<QString>>> runRoad(ProjectStore &store, PipelineStage first, PipelineStage last,
                                                     CancelToken cancel = {}, RoadRequest request = {});

} // namespace quillvane
