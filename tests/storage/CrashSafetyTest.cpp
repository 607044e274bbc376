// Nothing a save can be stopped by loses the user's project: not a SIGKILL at any moment of
// a save, not a folder the user may not write, not a full disk.

#include "GrowingProject.h"
#include "model/ProjectJson.h"
#include "storage/ProjectLibrary.h"
#include "support/Fixtures.h"

#include <QDir>
#include <QProcess>
#include <QRandomGenerator>
#include <QThread>

#include <gtest/gtest.h>

#include <csignal>
#include <grp.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace quillvane;

TEST(CrashSafety, AKilledSaveLeavesOneOfTheSavedVersionsWhole)
{
    test::TempLibrary temp;
    const QString projects = temp.path(QStringLiteral("projects"));
    const QString preferences = temp.path(QStringLiteral("Quillvane.conf"));
    const ProjectLibrary library(projects, Preferences(preferences));
    library.save(test::growingProject(0));
    const QString file = library.mediaFor(test::growingProject(0).id).projectFile();

    QRandomGenerator random(20261123); // fixed, so a failure can be run again as it was
    int next = 1;
    for (int round = 0; round < 60; ++round) {
        QProcess child;
        child.start(QStringLiteral(SAVE_LOOP_CHILD), {projects, preferences, QString::number(next)});
        ASSERT_TRUE(child.waitForStarted());
        // Once its first save is done the child is in its loop; however slow the machine, each
        // round then kills it somewhere in the saves that follow.
        ASSERT_TRUE(child.waitForReadyRead(20000)) << "round " << round << ": the child never saved";
        QThread::usleep(random.bounded(0, 20000));
        ::kill(pid_t(child.processId()), SIGKILL);
        child.waitForFinished();
        const QList<QByteArray> reported = child.readAllStandardOutput().split('\n');
        const int lastReported = reported.size() >= 2 ? reported.at(reported.size() - 2).toInt() : next - 1;

        // The document parses and is exactly one of the versions the child saved: the last
        // one it reported, or the one it was writing when it died.
        const Project onDisk = readProjectDocument(test::readFile(file));
        const int version = onDisk.title.section(QLatin1Char(' '), 1).toInt(); // the title is "version N"
        ASSERT_TRUE(version == lastReported || version == lastReported + 1)
            << "round " << round << ": found version " << version << " after " << lastReported;
        ASSERT_EQ(onDisk, test::growingProject(version)) << "round " << round;
        ASSERT_EQ(library.loadLastProject(), test::growingProject(version)) << "round " << round;
        next = version + 1;
    }
    EXPECT_GT(next, 60) << "the child hardly saved; the kills proved little";
}

// Permissions do not bind root, so as root the scenario runs in a child that has given up
// root for "nobody"; the folder is then one that user may not write.
TEST(CrashSafety, AReadOnlyProjectFolderKeepsThePreviousDocumentAndTheNextSaveWorks)
{
    char folder[] = "/tmp/quillvane-readonly-XXXXXX";
    ASSERT_NE(::mkdtemp(folder), nullptr);
    ::chmod(folder, 0777);
    // Exit codes: 10 could not give up root; 11 the save did not fail; 12 the document changed;
    // 13 the last project changed; 14 the save after the folder was writable again failed.
    const auto scenario = [&folder] {
        if (geteuid() == 0 && (::setgroups(0, nullptr) != 0 || ::setgid(65534) != 0 || ::setuid(65534) != 0))
            std::_Exit(10);
        const QString root = QString::fromLocal8Bit(folder);
        const ProjectLibrary library(root + QStringLiteral("/projects"), Preferences(root + QStringLiteral("/q.conf")));
        library.save(test::growingProject(3));
        const MediaLibrary media = library.mediaFor(test::growingProject(3).id);
        const QByteArray before = test::readFile(media.projectFile());

        QFile::setPermissions(media.root, QFileDevice::ReadOwner | QFileDevice::ExeOwner);
        try {
            library.save(test::growingProject(4));
            std::_Exit(11);
        } catch (const SaveError &) {
        }
        if (test::readFile(media.projectFile()) != before)
            std::_Exit(12);
        if (library.loadLastProject() != test::growingProject(3))
            std::_Exit(13);
        QFile::setPermissions(media.root, QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);
        library.save(test::growingProject(4));
        std::_Exit(library.loadLastProject() == test::growingProject(4) ? 0 : 14);
    };
    EXPECT_EXIT(scenario(), ::testing::ExitedWithCode(0), "");
    QDir(QString::fromLocal8Bit(folder)).removeRecursively();
}
