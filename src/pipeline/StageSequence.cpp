#include "pipeline/StageSequence.h"

namespace quillvane {

QCoro::Task<Outcome<std::optional<QString>>> runStages(ProjectStore &store, RoadSteps steps, RoadStage first,
                                                       RoadStage last, CancelToken cancel)
{
    using Result = Outcome<std::optional<QString>>;
    const auto held = store.holdCancel(cancel);
    const RoadSteps::Step ordered[] = {steps.plan, steps.elements, steps.frames, steps.motion};
    for (int stage = int(first); stage <= int(last) && stage < int(RoadStage::exportVideo); ++stage) {
        if (cancel.isCancelled())
            co_return Result::cancelled();
        auto running = ordered[stage](store, cancel);
        const Done outcome = co_await running;
        if (!outcome.isDone())
            co_return Result::stoppedBy(outcome);
    }
    if (last != RoadStage::exportVideo)
        co_return Result::done(std::nullopt);
    if (cancel.isCancelled())
        co_return Result::cancelled();
    auto exporting = steps.exportVideo(store, cancel);
    const Outcome<QString> exported = co_await exporting;
    if (!exported.isDone())
        co_return Result::stoppedBy(exported);
    co_return Result::done(exported.value());
}

} // namespace quillvane
