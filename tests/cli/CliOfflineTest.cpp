#include "CliHome.h"

#include <QFileInfo>
#include <QImage>

#include <gtest/gtest.h>

using namespace quillvane;
using namespace quillvane::test;

namespace {

// A timed song with a cast character, saved as the last project.
void timedProject(const CliHome &home)
{
    Project project;
    project.title = QStringLiteral("Letters in the Snow");
    project.artist = QStringLiteral("Mara Vale");
    const char *lines[] = {"City lights are burning low", "Down the road we used to know", "Hold my hand",
                           "We are letters in the snow"};
    for (int i = 0; i < 4; ++i)
        project.transcript.append({QUuid::createUuid(), QString::fromLatin1(lines[i]), i * 3.5, i * 3.5 + 3.5, {}});
    QImage face(120, 160, QImage::Format_RGB32);
    face.fill(QColor(255, 103, 72));
    const QString reference = home.path(QStringLiteral("mia.png"));
    face.save(reference);
    project.characters.append({QUuid::createUuid(), QStringLiteral("Mia"), QString(), {reference}});
    home.library().save(project);
}

TEST(CliOffline, PlansRendersAndPaintsWithNoNetwork)
{
    const CliHome home;
    timedProject(home);
    for (const char *command : {"plan", "elements", "frames"}) {
        const CliResult result = home.run({QStringLiteral("--offline"), QString::fromLatin1(command)});
        ASSERT_EQ(result.exitCode, 0) << command << ": " << result.err.toStdString();
    }
    const Project painted = home.savedProject();
    ASSERT_TRUE(painted.plan);
    ASSERT_GE(painted.chunks.size(), 2);
    for (const PlanElement &element : painted.plan->elements)
        EXPECT_TRUE(QFileInfo::exists(element.imageLocalPath.value_or(QString()))) << element.id.toStdString();
    for (const StoryboardChunk &chunk : painted.chunks) {
        ASSERT_TRUE(chunk.frame);
        EXPECT_EQ(QImage(chunk.frame->localPath).size(), QSize(1920, 1080));
    }

    // Each command is a new process with a new studio: a frame painted by the last one can
    // still be edited, from the file the project holds.
    const CliResult edited = home.run({QStringLiteral("--offline"), QStringLiteral("edit"), QStringLiteral("1"),
                                       QStringLiteral("make the sky sunset orange")});
    ASSERT_EQ(edited.exitCode, 0) << edited.err.toStdString();
    const StoryboardChunk first = home.savedProject().chunks.first();
    ASSERT_EQ(first.undoStack.size(), 1);
    const QImage before(first.undoStack.first().localPath);
    const QImage after(first.frame->localPath);
    ASSERT_EQ(after.size(), before.size());
    const QColor was = before.pixelColor(40, 40);
    const QColor now = after.pixelColor(40, 40);
    EXPECT_GT(now.red() - now.blue(), was.red() - was.blue()) << "the sunset tint warms the picture";
}

TEST(CliOffline, TheOfflineSettingIsKeptAndUsedWithoutTheFlag)
{
    const CliHome home;
    timedProject(home);
    const CliResult wrong = home.run(args("settings --backend cloud"));
    EXPECT_EQ(wrong.exitCode, 2);
    EXPECT_TRUE(wrong.err.contains(QStringLiteral("--backend needs service or offline")));
    const CliResult chosen = home.run(args("settings --backend offline"));
    EXPECT_EQ(chosen.exitCode, 0);
    const CliResult plan = home.run({QStringLiteral("plan")});
    EXPECT_EQ(plan.exitCode, 0) << plan.err.toStdString();
    EXPECT_FALSE(home.savedProject().chunks.isEmpty());
}

} // namespace
