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
    PipelineStage first;
    PipelineStage last;
    // The step during whose run the user cancels, or that fails.
    const char *cancelDuring;
    const char *failAt;
    // A cancel in the pause after this step's run, before the next step starts.
    const char *cancelAfter;
    std::vector<const char *> started;
    Ending ending;
};

using enum PipelineStage;
const SequenceCase sequenceCases[] = {
    {"the whole road runs in order", intake, exportStage, "", "", "",
     {"import", "timing", "plan", "elements", "frames", "motion", "export"}, Ending::done},
    {"the storyboard is planned, then its elements rendered", storyboard, storyboard, "", "", "",
     {"plan", "elements"}, Ending::done},
    {"frames render pending elements first", frames, frames, "", "", "", {"elements", "frames"}, Ending::done},
    {"stages the road passes by are skipped", timing, storyboard, "", "", "", {"timing", "plan", "elements"},
     Ending::done},
    {"cancel while importing", intake, exportStage, "import", "", "", {"import"}, Ending::cancelled},
    {"cancel while rendering elements", storyboard, exportStage, "elements", "", "", {"plan", "elements"},
     Ending::cancelled},
    {"cancel while exporting", storyboard, exportStage, "export", "", "",
     {"plan", "elements", "frames", "motion", "export"}, Ending::cancelled},
    {"cancel between two steps", storyboard, exportStage, "", "", "elements", {"plan", "elements"},
     Ending::cancelled},
    {"a failure stops the road", intake, exportStage, "", "frames", "",
     {"import", "timing", "plan", "elements", "frames"}, Ending::failed},
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
    const auto stage = [&](const char *name) {
        const std::string which = name;
        return [&, which, name](ProjectStore &s, CancelToken cancel) -> QCoro::Task<Done> {
            auto running = s.run(
                QString::fromLatin1(name),
                [&, which, name](CancelToken token) -> QCoro::Task<> {
                    started << QString::fromLatin1(name);
                    if (which == c.cancelDuring)
                        QTimer::singleShot(5ms, &s, [&s] { s.cancelRunningTasks(); });
                    for (int step = 0; step < 10; ++step) {
                        co_await QCoro::sleepFor(2ms);
                        token.throwIfCancelled();
                    }
                    if (which == c.failAt)
                        throw Error(QStringLiteral("The %1 stage broke.").arg(QString::fromLatin1(name)));
                    s.editProject([name](Project &p) { p.conceptPrompt += QString::fromLatin1(name) + u' '; });
                    finished << QString::fromLatin1(name);
                },
                cancel);
            const Done outcome = co_await running;
            if (which == c.cancelAfter) {
                // The pause a stage may take outside any run, like the gap between two frames.
                QTimer::singleShot(1ms, &s, [&s] { s.cancelRunningTasks(); });
                co_await QCoro::sleepFor(20ms);
            }
            co_return outcome;
        };
    };
    RoadSteps steps;
    steps.importTrack = stage("import");
    steps.timing = stage("timing");
    steps.plan = stage("plan");
    steps.elements = stage("elements");
    steps.frames = stage("frames");
    steps.motion = stage("motion");
    const auto exporting = stage("export");
    steps.exportVideo = [exporting](ProjectStore &s, CancelToken cancel) -> QCoro::Task<Outcome<QString>> {
        auto running = exporting(s, cancel);
        const Done outcome = co_await running;
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
        EXPECT_EQ(outcome.value(), c.last == exportStage ? std::optional(QStringLiteral("/videos/song.mp4"))
                                                                    : std::nullopt);
    }
    // What the finished stages made stays in the project.
    EXPECT_EQ(store.project().conceptPrompt, finished.isEmpty() ? QString() : finished.join(u' ') + u' ');
    EXPECT_FALSE(store.session().runningTask());

    // The cancel ended with the road: the next run starts afresh.
    const Done next = blockingWait(store.run(QStringLiteral("next"), [](CancelToken) -> QCoro::Task<> { co_return; }));
    EXPECT_TRUE(next.isDone());
}

INSTANTIATE_TEST_SUITE_P(Road, StageSequence, testing::ValuesIn(sequenceCases),
                         [](const auto &info) { return test::testName(info.param.name); });
