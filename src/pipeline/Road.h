#pragma once

// The stage sequence bound to the operations of this build: planning, elements and frames from
// the generation library, motion and export from this one.

#include "pipeline/StageSequence.h"

namespace quillvane {

RoadSteps roadSteps();

// runStages over roadSteps(): the road from first to last stage under one cancel.
QCoro::Task<Outcome<std::optional<QString>>> runRoad(ProjectStore &store, RoadStage first, RoadStage last,
                                                     CancelToken cancel = {});

} // namespace quillvane
