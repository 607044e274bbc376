#include "storage/LibraryLock.h"
#include "support/Fixtures.h"

#include <QFile>
#include <QProcess>
#include <QSysInfo>

#include <gtest/gtest.h>

#include <utime.h>

using namespace quillvane;

namespace {

// A lock file as the process with this id and executable name would have left it.
void writeLockFileOf(const QString &path, qint64 pid, const QByteArray &executable)
{
    test::writeFile(path, QByteArray::number(pid) + '\n' + executable + '\n' + QSysInfo::machineHostName().toUtf8() + '\n');
}

void makeOld(const QString &path)
{
    const utimbuf anHourAgo{time(nullptr) - 3600, time(nullptr) - 3600};
    utime(path.toLocal8Bit().constData(), &anHourAgo);
}

} // namespace

// A second writer turned away with its sentence, and let in once the first lets go, is
// tested through quillvane-cli.

TEST(LibraryLock, ALockLeftByADeadProcessIsTakenOver)
{
    test::TempLibrary temp;
    const QString path = temp.path(QStringLiteral("library.lock"));
    QProcess finished;
    finished.start(QStringLiteral("true"), {});
    ASSERT_TRUE(finished.waitForStarted());
    const qint64 pid = finished.processId();
    ASSERT_TRUE(finished.waitForFinished());
    writeLockFileOf(path, pid, "quillvane-cli");
    EXPECT_NO_THROW(LibraryLock lock(path));
}

TEST(LibraryLock, ALiveWritersLockIsNeverStaleHoweverOld)
{
    test::TempLibrary temp;
    const QString path = temp.path(QStringLiteral("library.lock"));
    QProcess alive;
    alive.start(QStringLiteral("sleep"), {QStringLiteral("30")});
    ASSERT_TRUE(alive.waitForStarted());
    writeLockFileOf(path, alive.processId(), "sleep");
    makeOld(path);
    EXPECT_THROW(LibraryLock lock(path), LibraryBusyError);
    alive.kill();
    alive.waitForFinished();
}
