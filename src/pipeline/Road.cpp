#include "pipeline/Road.h"

#include "pipeline/GenerationOperations.h"
#include "pipeline/MediaOperations.h"

namespace quillvane {

RoadSteps roadSteps()
{
    RoadSteps steps;
    steps.plan = [](ProjectStore &store, CancelToken cancel) { return startPlanning(store, std::move(cancel)); };
    steps.elements = [](ProjectStore &store, CancelToken cancel) {
        return startRenderElements(store, std::move(cancel));
    };
    steps.frames = [](ProjectStore &store, CancelToken cancel) {
        return startGenerateMissingFrames(store, std::move(cancel));
    };
    steps.motion = [](ProjectStore &store, CancelToken cancel) { return startRenderMotion(store, std::move(cancel)); };
    steps.exportVideo = [](ProjectStore &store, CancelToken cancel) {
        return startExportVideo(store, std::move(cancel));
    };
    return steps;
}

QCoro::Task<Outcome<std::optional<QString>>> runRoad(ProjectStore &store, RoadStage first, RoadStage last,
                                                     CancelToken cancel)
{
    return runStages(store, roadSteps(), first, last, std::move(cancel));
}

} // namespace quillvane
