#pragma once

// The road from a track to a finished video, in the order each stage needs the one before:
// intake (the track imported), timing, storyboard (planned, then its elements rendered),
// frames (pending elements, then every missing frame), motion and export. Characters, style
// and preview are the person's own stages, and the road passes them by. The app and the
// command line both go through runStages, so the order, the stop at the first stage that does
// not finish, and the one cancel that ends it all live in one place.

#include "model/PipelineStage.h"
#include "store/ProjectStore.h"

#include <functional>
#include <optional>

namespace quillvane {

// The operation of each step: runs it through the store's Run wrapper with the token it is
// given, and says how it ended.
struct RoadSteps {
    using Step = std::function<QCoro::Task<Done>(ProjectStore &, CancelToken)>;
    Step importTrack;
    Step timing;
    Step plan;
    Step elements;
    Step frames;
    Step motion;
    std::function<QCoro::Task<Outcome<QString>>(ProjectStore &, CancelToken)> exportVideo;
};

// Runs the road's stages from first to last (stages the road passes by are skipped), each
// with cancel; stops at the first step that fails or is cancelled and returns that outcome.
// While it runs, cancelRunningTasks reaches its token, also between two steps, and once it is
// cancelled no later step starts. Whatever the finished steps made stays in the project. Done
// carries the exported file's path when the export stage ran.
QCoro::Task<Outcome<std::optional<QString>>> runStages(ProjectStore &store, RoadSteps steps, PipelineStage first,
                                                       PipelineStage last, CancelToken cancel = {});

} // namespace quillvane
