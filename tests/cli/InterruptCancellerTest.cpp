#include "cli/InterruptCanceller.h"
#include "store/BlockingWait.h"
#include "store/ProjectStore.h"
#include "support/Fixtures.h"

#include <QCoro/QCoroTimer>
#include <QTimer>

#include <gtest/gtest.h>

#include <csignal>

using namespace quillvane;
using namespace quillvane::cli;
using namespace std::chrono_literals;

TEST(InterruptCanceller, CtrlCStopsTheRunningOperationSilentlyAndGivesBackTheSignal)
{
    struct sigaction before {};
    ::sigaction(SIGINT, nullptr, &before);

    test::TempLibrary temp;
    ProjectStore store(temp.library());
    const Project untouched = store.project();
    int steps = 0;
    {
        const InterruptCanceller interrupt([&store] { store.cancelRunningTasks(); });
        QTimer::singleShot(30ms, [] { ::raise(SIGINT); });
        blockingWait(store.run(QStringLiteral("Rendering motion"), [&](CancelToken token) -> QCoro::Task<> {
            for (; steps < 400; ++steps) {
                co_await QCoro::sleepFor(5ms);
                token.throwIfCancelled();
            }
            store.editProject([](Project &p) { p.title = QStringLiteral("finished"); });
        }));
        EXPECT_TRUE(interrupt.interrupted());
    }
    EXPECT_LT(steps, 400);
    EXPECT_EQ(store.project(), untouched);
    EXPECT_FALSE(store.session().lastError() || store.session().runningTask());

    struct sigaction after {};
    ::sigaction(SIGINT, nullptr, &after);
    EXPECT_EQ(after.sa_handler, before.sa_handler) << "Ctrl+C has its usual meaning again";
}
