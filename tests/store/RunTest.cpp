// The Run wrapper: what the user sees while an operation runs and after it ends.

#include "model/PipelineConfig.h"
#include "store/BlockingWait.h"
#include "store/ProjectStore.h"
#include "support/Fixtures.h"

#include <QCoro/QCoroTimer>

#include <gtest/gtest.h>

#include <functional>

using namespace quillvane;
using namespace std::chrono_literals;

namespace {

struct RunCase {
    const char *name;
    // The operation's body after a short wait; it may change the project or throw.
    std::function<void(ProjectStore &, const CancelToken &)> body;
    std::optional<QString> expectedError;
    bool projectChanged;
};

const RunCase runCases[] = {
    {"success keeps the change and reports nothing",
     [](ProjectStore &store, const CancelToken &) {
         store.session().setTaskProgress(0.5);
         store.editProject([](Project &p) { p.title = QStringLiteral("changed"); });
     },
     std::nullopt, true},
    {"a typed error becomes its sentence",
     [](ProjectStore &, const CancelToken &) { throw PipelineError(PipelineError::Case::emptyLyrics); },
     QStringLiteral("Add lyrics before planning the storyboard."), false},
    {"any other error gets a generic sentence with its detail",
     [](ProjectStore &, const CancelToken &) { throw std::runtime_error("disk on fire"); },
     QStringLiteral("The operation couldn’t be completed. (disk on fire)"), false},
};

} // namespace

TEST(Run, EndsIdleAndSaysWhatHappened)
{
    for (const RunCase &c : runCases) {
        SCOPED_TRACE(c.name);
        test::TempLibrary temp;
        ProjectStore store(temp.library());
        store.session().setLastError(QStringLiteral("an old error"));
        const Project before = store.project();

        std::optional<QString> labelWhileRunning;
        bool errorClearedWhileRunning = false;
        const Done outcome = blockingWait(store.run(QStringLiteral("Planning storyboard"), [&](CancelToken token) -> QCoro::Task<> {
            co_await QCoro::sleepFor(10ms);
            labelWhileRunning = store.session().runningTask();
            errorClearedWhileRunning = !store.session().lastError().has_value();
            c.body(store, token);
        }));

        EXPECT_EQ(outcome.isFailed(), c.expectedError.has_value());
        EXPECT_EQ(outcome.failure(), c.expectedError.value_or(QString()));
        EXPECT_FALSE(outcome.isCancelled());
        EXPECT_EQ(outcome.isDone(), !c.expectedError);

        EXPECT_EQ(labelWhileRunning, QStringLiteral("Planning storyboard"));
        EXPECT_TRUE(errorClearedWhileRunning);
        EXPECT_FALSE(store.session().runningTask());
        EXPECT_FALSE(store.session().taskProgress());
        EXPECT_EQ(store.session().lastError(), c.expectedError);
        EXPECT_EQ(store.project() != before, c.projectChanged);
    }
}

TEST(Run, CancellingStopsAWaitingOperationSilentlyAndKeepsTheProject)
{
    test::TempLibrary temp;
    ProjectStore store(temp.library());
    const Project before = store.project();
    bool reachedTheEnd = false;

    QTimer::singleShot(30ms, &store, [&store] { store.cancelRunningTasks(); });
    const Done outcome = blockingWait(store.run(QStringLiteral("Rendering motion"), [&](CancelToken token) -> QCoro::Task<> {
        // An engine's loop: one step at a time, checking between steps.
        for (int step = 0; step < 200; ++step) {
            co_await QCoro::sleepFor(5ms);
            token.throwIfCancelled();
        }
        reachedTheEnd = true;
        store.editProject([](Project &p) { p.title = QStringLiteral("rendered"); });
    }));

    EXPECT_TRUE(outcome.isCancelled());
    EXPECT_FALSE(reachedTheEnd);
    EXPECT_EQ(store.project(), before);
    EXPECT_FALSE(store.session().runningTask() || store.session().taskProgress() || store.session().lastError());
}

// A cancel with nothing running must not reach the runs that start later.
TEST(Run, TheRunThatFinishesFirstClearsTheSharedTaskStateAndAnEarlierCancelStopsNeither)
{
    test::TempLibrary temp;
    ProjectStore store(temp.library());
    store.cancelRunningTasks();
    auto slow = store.run(QStringLiteral("slow"), [](CancelToken) -> QCoro::Task<> { co_await QCoro::sleepFor(60ms); });
    auto fast = store.run(QStringLiteral("fast"), [](CancelToken) -> QCoro::Task<> { co_await QCoro::sleepFor(10ms); });
    EXPECT_EQ(store.session().runningTask(), QStringLiteral("fast"));
    EXPECT_TRUE(blockingWait(std::move(fast)).isDone());
    EXPECT_FALSE(store.session().runningTask());
    EXPECT_TRUE(blockingWait(std::move(slow)).isDone());
    EXPECT_FALSE(store.session().runningTask());
}

TEST(Run, AStoreDestroyedWhileAnOperationWaitsIsNotTouchedAfterwards)
{
    test::TempLibrary temp;
    auto store = std::make_unique<ProjectStore>(temp.library());
    auto running = store->run(QStringLiteral("Exporting video"),
                              [](CancelToken) -> QCoro::Task<> { co_await QCoro::sleepFor(20ms); });
    store.reset();
    EXPECT_TRUE(blockingWait(std::move(running)).isCancelled());
}
