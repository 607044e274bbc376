#include "storage/LibraryLock.h"
#include "support/Fixtures.h"

#include <QFile>
#include <QProcess>
#include <QSysInfo>

#include <gtest/gtest.h>

#include <utime.h>

using namespace quillvane;

// A second writer turned away with its sentence, and let in once the first lets go, is
// tested through quillvane-cli.
TEST(LibraryLock, ADeadProcessLockIsTakenOverAndALiveWritersIsNeverStaleHoweverOld)
{
    test::TempLibrary temp;
    const QString path = temp.path(QStringLiteral("library.lock"));
    // A lock file as the process with this id and executable name would have left it.
    const auto writeLockFileOf = [&path](qint64 pid, const QByteArray &executable) {
        test::writeFile(path, QByteArray::number(pid) + '\n' + executable + '\n' + QSysInfo::machineHostName().toUtf8() + '\n');
    };
    QProcess finished;
    finished.start(QStringLiteral("true"), {});
    ASSERT_TRUE(finished.waitForStarted());
    const qint64 pid = finished.processId();
    ASSERT_TRUE(finished.waitForFinished());
    writeLockFileOf(pid, "quillvane-cli");
    EXPECT_NO_THROW(LibraryLock lock(path));

    QProcess alive;
    alive.start(QStringLiteral("sleep"), {QStringLiteral("30")});
    ASSERT_TRUE(alive.waitForStarted());
    writeLockFileOf(alive.processId(), "sleep");
    const utimbuf anHourAgo{time(nullptr) - 3600, time(nullptr) - 3600};
    utime(path.toLocal8Bit().constData(), &anHourAgo);
    EXPECT_THROW(LibraryLock lock(path), LibraryBusyError);
    alive.kill();
    alive.waitForFinished();
}
