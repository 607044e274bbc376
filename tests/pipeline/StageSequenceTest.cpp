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

using enum PipelineStage;
const struct SequenceCase {
    PipelineStage first, last;
    // The step during whose run the user cancels, the one that fails, and the one after whose
    // run (in the pause before the next step starts) the user cancels.
    std::string cancelDuring, failAt, cancelAfter;
    const char *started;
    const char *ending;
} sequenceCases[] = {
    {intake, exportStage, "", "", "", "import timing plan elements frames motion export", "done"},
    {storyboard, storyboard, "", "", "", "plan elements", "done"},
    {frames, frames, "", "", "", "elements frames", "done"},
    {intake, exportStage, "import", "", "", "import", "cancelled"},
    {storyboard, exportStage, "export", "", "", "plan elements frames motion export", "cancelled"},
    {storyboard, exportStage, "", "", "elements", "plan elements", "cancelled"},
    {intake, exportStage, "", "frames", "", "import timing plan elements frames", "failed"},
};

} // namespace

TEST(StageSequence, StopsAtTheFirstStageThatDoesNotFinish)
{
    for (const SequenceCase &c : sequenceCases) {
        SCOPED_TRACE(c.started);
        test::TempLibrary temp;
        ProjectStore store(temp.library());
        QStringList started, finished;

        // Each stage is a run of small steps that checks its token between them, as engines do,
        // and records itself in the project, so what a stage made can be seen to stay.
        const auto stage = [&](const char *name) {
            return [&, which = std::string(name), label = QString::fromLatin1(name)](ProjectStore &s,
                                                                                    CancelToken cancel) -> QCoro::Task<Done> {
                auto running = s.run(
                    label,
                    [&, which, label](CancelToken token) -> QCoro::Task<> {
                        started << label;
                        if (which == c.cancelDuring)
                            QTimer::singleShot(5ms, &s, [&s] { s.cancelRunningTasks(); });
                        for (int step = 0; step < 10; ++step) {
                            co_await QCoro::sleepFor(2ms);
                            token.throwIfCancelled();
                        }
                        if (which == c.failAt)
                            throw Error(QStringLiteral("The %1 stage broke.").arg(label));
                        s.editProject([&](Project &p) { p.conceptPrompt += label + u' '; });
                        finished << label;
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
        const auto exporting = stage("export");
        const RoadSteps steps{stage("import"), stage("timing"), stage("plan"), stage("elements"), stage("frames"),
                              stage("motion"),
                              [exporting](ProjectStore &s, CancelToken cancel) -> QCoro::Task<Outcome<QString>> {
                                  auto running = exporting(s, cancel);
                                  const Done outcome = co_await running;
                                  co_return outcome.isDone() ? Outcome<QString>::done(QStringLiteral("/videos/song.mp4"))
                                                             : Outcome<QString>::stoppedBy(outcome);
                              }};

        const auto outcome = blockingWait(runStages(store, steps, c.first, c.last));

        EXPECT_EQ(started.join(u' '), QString::fromLatin1(c.started));
        const std::string ending = outcome.isDone() ? "done" : outcome.isFailed() ? "failed" : "cancelled";
        EXPECT_EQ(outcome.isCancelled(), ending == "cancelled");
        EXPECT_EQ(ending, c.ending);
        if (ending == "failed") {
            EXPECT_EQ(outcome.failure(), QStringLiteral("The %1 stage broke.").arg(started.last()));
        } else if (ending == "done") {
            EXPECT_EQ(outcome.value(), c.last == exportStage ? std::optional(QStringLiteral("/videos/song.mp4")) : std::nullopt);
        }
        EXPECT_EQ(store.project().conceptPrompt, finished.isEmpty() ? QString() : finished.join(u' ') + u' ');
        EXPECT_FALSE(store.session().runningTask());

        // The cancel ended with the road: the next run starts afresh.
        EXPECT_TRUE(blockingWait(store.run(QStringLiteral("next"), [](CancelToken) -> QCoro::Task<> { co_return; })).isDone());
    }
}
