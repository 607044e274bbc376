#include "pipeline/StageSequence.h"

#include <vector>

namespace quillvane {

namespace {

// The steps of one stage, in order.
std::vector<const RoadSteps::Step *> stepsOf(const RoadSteps &steps, PipelineStage stage)
{
    switch (stage) {
    case PipelineStage::intake:
        return {&steps.importTrack};
    case PipelineStage::timing:
        return {&steps.timing};
    case PipelineStage::storyboard:
        return {&steps.plan, &steps.elements};
    case PipelineStage::frames:
        return {&steps.elements, &steps.frames};
    case PipelineStage::motion:
        return {&steps.motion};
    default:
        return {};
    }
}

} // namespace

QCoro::Task<Outcome<std::optional<QString>>> runStages(ProjectStore &store, RoadSteps steps, PipelineStage first,
                                                       PipelineStage last, CancelToken cancel)
{
    using Result = Outcome<std::optional<QString>>;
    const auto held = store.holdCancel(cancel);
    std::vector<const RoadSteps::Step *> ordered;
    for (int stage = int(first); stage <= int(last); ++stage) {
        for (const RoadSteps::Step *step : stepsOf(steps, PipelineStage(stage)))
            // Elements end the storyboard and open the frames: once is enough.
            if (ordered.empty() || ordered.back() != step)
                ordered.push_back(step);
    }
    for (const RoadSteps::Step *step : ordered) {
        if (cancel.isCancelled())
            co_return Result::cancelled();
        auto running = (*step)(store, cancel);
        const Done outcome = co_await running;
        if (!outcome.isDone())
            co_return Result::stoppedBy(outcome);
    }
    if (last != PipelineStage::exportStage)
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
