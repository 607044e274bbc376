#include "cli/ProgressPrinter.h"
#include "store/BlockingWait.h"
#include "support/Fixtures.h"

#include <gtest/gtest.h>

using namespace quillvane;
using namespace quillvane::cli;

namespace {

// A task that moves its progress in small steps and changes its label once.
QStringList printedDuring(bool terminal)
{
    test::TempLibrary temp;
    ProjectStore store(temp.library());
    QStringList written;
    {
        const ProgressPrinter printer(store, [&](const QString &text) { written.append(text); }, terminal);
        blockingWait(store.run(QStringLiteral("Reading audio"), [&](CancelToken) -> QCoro::Task<> {
            for (const double fraction : {0.001, 0.004, 0.011, 0.5, 0.509})
                store.session().setTaskProgress(fraction);
            store.session().setRunningTask(QStringLiteral("Verifying lyrics (first & last 30s)"));
            store.session().setTaskProgress(1.0);
            co_return;
        }));
    }
    return written;
}

} // namespace

// Outside a terminal a line per label or whole percent; on a terminal one line updated in
// place and cleared at the end.
TEST(ProgressPrinter, PrintsALinePerStepOrUpdatesOneLineOnATerminal)
{
    EXPECT_EQ(printedDuring(false), (QStringList{
                                        QStringLiteral("Reading audio\n"),
                                        QStringLiteral("Reading audio 0%\n"),
                                        QStringLiteral("Reading audio 1%\n"),
                                        QStringLiteral("Reading audio 50%\n"),
                                        QStringLiteral("Verifying lyrics (first & last 30s) 50%\n"),
                                        QStringLiteral("Verifying lyrics (first & last 30s) 100%\n"),
                                    }));
    const QStringList written = printedDuring(true);
    ASSERT_FALSE(written.isEmpty());
    for (const QString &text : written) {
        EXPECT_TRUE(text.startsWith(QStringLiteral("\r\033[K"))) << text.toStdString();
        EXPECT_FALSE(text.contains(QLatin1Char('\n'))) << text.toStdString();
    }
    EXPECT_EQ(written.last(), QStringLiteral("\r\033[K"));
    EXPECT_EQ(written.at(written.size() - 2), QStringLiteral("\r\033[KVerifying lyrics (first & last 30s) 100%"));
}
