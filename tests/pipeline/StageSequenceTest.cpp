// The road's order and its one cancel: whatever stage is running (or about to start) when the
// user cancels, no later stage starts, and what the finished stages made stays.

#include "store/BlockingWait.h"
#include "pipeline/StageSequence.h"
#include "support/Fixtures.h"

#include <QCoro/QCoroTimer>
#include <QTimer>

#include <gtest/gtest.h>

using namespace quillvane;
using namespace std::chrono_literals;

namespace {

enum class Ending { done, failed, cancelled };

struct SequenceCase {
    friend void PrintTo(const SequenceCase &c, std::ostream *os) { *os << c.name; }
    const char *name;
    RoadStage first;
    RoadStage last;
    // The stage during whose run the user cancels, or that fails.
    std::optional<RoadStage> cancelDuring;
    std::optional<RoadStage> failAt;
    // A cancel in the pause after this stage's run, before the next stage starts.
    std::optional<RoadStage> cancelAfter;
    std::vector<const char *> started;
    Ending ending;
};

const SequenceCase sequenceCases[] = {
    {"the whole road runs in order", RoadStage::plan, RoadStage::exportVideo, {}, {}, {},
     {"plan", "elements", "frames", "motion", "export"}, Ending::done},
    {"a part of the road runs only its stages", RoadStage::elements, RoadStage::frames, {}, {}, {},
     {"elements", "frames"}, Ending::done},
    {"cancel while planning", RoadStage::plan, RoadStage::exportVideo, RoadStage::plan, {}, {}, {"plan"},
     Ending::cancelled},
    {"cancel while rendering elements", RoadStage::plan, RoadStage::exportVideo, RoadStage::elements, {}, {},
     {"plan", "elements"}, Ending::cancelled},
    {"cancel while painting frames", RoadStage::plan, RoadStage::exportVideo, RoadStage::frames, {}, {},
     {"plan", "elements", "frames"}, Ending::cancelled},
    {"cancel while rendering motion", RoadStage::plan, RoadStage::exportVideo, RoadStage::motion, {}, {},
     {"plan", "elements", "frames", "motion"}, Ending::cancelled},
    {"cancel while exporting", RoadStage::plan, RoadStage::exportVideo, RoadStage::exportVideo, {}, {},
     {"plan", "elements", "frames", "motion", "export"}, Ending::cancelled},
    {"cancel between two stages", RoadStage::plan, RoadStage::exportVideo, {}, {}, RoadStage::elements,
     {"plan", "elements"}, Ending::cancelled},
    {"a failure stops the road", RoadStage::plan, RoadStage::exportVideo, {}, RoadStage::frames, {},
     {"plan", "elements", "frames"}, Ending::failed},
};

class StageSequence : public testing::TestWithParam<SequenceCase> {};

} // namespace

TEST_P(StageSequence, StopsAtTheFirstStageThatDoesNotFinish)
{
    const SequenceCase &c = GetParam();
    test::TempLibrary temp;
    ProjectStore store(temp.library());
    QStringList started;
    QStringList finished;

    // Each stage is a run of small steps that checks its token between them, as engines do,
    // and records itself in the project, so what a stage made can be seen to stay.
    const auto stage = [&](RoadStage which, const char *name) {
        return [&, which, name](ProjectStore &s, CancelToken cancel) -> QCoro::Task<Done> {
            auto running = s.run(
                QString::fromLatin1(name),
                [&, which, name](CancelToken token) -> QCoro::Task<> {
                    started << QString::fromLatin1(name);
                    if (c.cancelDuring == which)
                        QTimer::singleShot(5ms, &s, [&s] { s.cancelRunningTasks(); });
                    for (int step = 0; step < 10; ++step) {
                        co_await QCoro::sleepFor(2ms);
                        token.throwIfCancelled();
                    }
                    if (c.failAt == which)
                        throw Error(QStringLiteral("The %1 stage broke.").arg(QString::fromLatin1(name)));
                    s.editProject([name](Project &p) { p.conceptPrompt += QString::fromLatin1(name) + u' '; });
                    finished << QString::fromLatin1(name);
                },
                cancel);
            const Done outcome = co_await running;
            if (c.cancelAfter == which) {
                // The pause a stage may take outside any run, like the gap between two frames.
                QTimer::singleShot(1ms, &s, [&s] { s.cancelRunningTasks(); });
                co_await QCoro::sleepFor(20ms);
            }
            co_return outcome;
        };
    };
    RoadSteps steps;
    steps.plan = stage(RoadStage::plan, "plan");
    steps.elements = stage(RoadStage::elements, "elements");
    steps.frames = stage(RoadStage::frames, "frames");
    steps.motion = stage(RoadStage::motion, "motion");
    const auto exportStage = stage(RoadStage::exportVideo, "export");
    steps.exportVideo = [exportStage](ProjectStore &s, CancelToken cancel) -> QCoro::Task<Outcome<QString>> {
        auto exporting = exportStage(s, cancel);
        const Done outcome = co_await exporting;
        co_return outcome.isDone() ? Outcome<QString>::done(QStringLiteral("/videos/song.mp4"))
                                   : Outcome<QString>::stoppedBy(outcome);
    };

    const auto outcome = blockingWait(runStages(store, steps, c.first, c.last));

    QStringList expected;
    for (const char *name : c.started)
        expected << QString::fromLatin1(name);
    EXPECT_EQ(started, expected);
    EXPECT_EQ(outcome.isDone(), c.ending == Ending::done);
    EXPECT_EQ(outcome.isCancelled(), c.ending == Ending::cancelled);
    EXPECT_EQ(outcome.isFailed(), c.ending == Ending::failed);
    if (c.ending == Ending::failed) {
        EXPECT_EQ(outcome.failure(), QStringLiteral("The %1 stage broke.").arg(expected.last()));
    }
    if (c.ending == Ending::done) {
        EXPECT_EQ(outcome.value(), c.last == RoadStage::exportVideo ? std::optional(QStringLiteral("/videos/song.mp4"))
                                                                    : std::nullopt);
    }
    // What the finished stages made stays in the project.
    EXPECT_EQ(store.project().conceptPrompt, finished.isEmpty() ? QString() : finished.join(u' ') + u' ');
    EXPECT_FALSE(store.runningTask());

    // The cancel ended with the road: the next run starts afresh.
    const Done next = blockingWait(store.run(QStringLiteral("next"), [](CancelToken) -> QCoro::Task<> { co_return; }));
    EXPECT_TRUE(next.isDone());
}

INSTANTIATE_TEST_SUITE_P(Road, StageSequence, testing::ValuesIn(sequenceCases),
                         [](const auto &info) { return test::testName(info.param.name); });
