#pragma once

// The road from a timed transcript to a finished video, in the order each stage needs the one
// before: plan, elements, frames, motion, export. The app and the command line both go
// through runStages, so the order, the stop at the first stage that does not finish, and the
// one cancel that ends it all live in one place.

#include "store/ProjectStore.h"

#include <functional>
#include <optional>

namespace quillvane {

enum class RoadStage { plan, elements, frames, motion, exportVideo };

// The operation of each stage: runs it through the store's Run wrapper with the token it is
// given, and says how it ended. Supplied by the libraries that own the stages.
struct RoadSteps {
    using Step = std::function<QCoro::Task<Done>(ProjectStore &, CancelToken)>;
    Step plan;
    Step elements;
    Step frames;
    Step motion;
    std::function<QCoro::Task<Outcome<QString>>(ProjectStore &, CancelToken)> exportVideo;
};

// Runs the stages from first to last, in road order, each with cancel; stops at the first one
// that fails or is cancelled and returns that outcome. While it runs, cancelRunningTasks
// reaches its token, also between two stages, and once it is cancelled no later stage starts.
// Whatever the finished stages made stays in the project. Done carries the exported file's
// path when the export stage ran.
QCoro::Task<Outcome<std::optional<QString>>> runStages(ProjectStore &store, RoadSteps steps, RoadStage first,
                                                       RoadStage last, CancelToken cancel = {});

} // namespace quillvane
