#include "pipeline/Road.h"

#include "pipeline/GenerationOperations.h"
#include "pipeline/IntakeOperations.h"
#include "pipeline/MediaOperations.h"

namespace quillvane {

RoadSteps roadSteps(RoadRequest request)
{
    RoadSteps steps;
    steps.importTrack = [path = request.audioPath](ProjectStore &store, CancelToken cancel) {
        return startImport(store, path, std::move(cancel));
    };
    steps.timing = [](ProjectStore &store, CancelToken cancel) { return startTiming(store, std::move(cancel)); };
    steps.plan = [](ProjectStore &store, CancelToken cancel) { return startPlanning(store, std::move(cancel)); };
    steps.elements = [](ProjectStore &store, CancelToken cancel) {
        return startRenderElements(store, std::move(cancel));
    };
    steps.frames = [](ProjectStore &store, CancelToken cancel) {
        return startGenerateMissingFrames(store, std::move(cancel));
    };
    steps.motion = [](ProjectStore &store, CancelToken cancel) { return startRenderMotion(store, std::move(cancel)); };
    steps.exportVideo = [subtitles = request.subtitles](ProjectStore &store, CancelToken cancel) {
        return startExportVideo(store, std::move(cancel), subtitles);
    };
    return steps;
}

QCoro::Task<Outcome<std::optional<QString>>> runRoad(ProjectStore &store, PipelineStage first, PipelineStage last,
                                                     CancelToken cancel, RoadRequest request)
{
    return runStages(store, roadSteps(std::move(request)), first, last, std::move(cancel));
}

} // namespace quillvane
