#include "CliHome.h"
#include "model/SyncedLyrics.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QImage>

#include <gtest/gtest.h>

using namespace quillvane;
using namespace quillvane::test;

namespace {

// A project of two accepted chunks whose frames are stills in the home folder, saved as the
// last project.
void saveFramedProject(const CliHome &home)
{
    Project project;
    project.title = QStringLiteral("Rain / Shine");
    project.transcript = {{QUuid::createUuid(), QStringLiteral("Rain falls"), 0.25, 1.9, {}},
                          {QUuid::createUuid(), QStringLiteral("Shine on"), 2.0, 3.5, {}}};
    for (qint64 i = 0; i < 2; ++i) {
        StoryboardChunk chunk = chunkWithFrame(true);
        chunk.index = i;
        chunk.chunkNumber = i + 1;
        chunk.start = 2.0 * double(i);
        chunk.end = chunk.start + 2;
        QImage still(64, 36, QImage::Format_RGB32);
        still.fill(i == 0 ? Qt::red : Qt::blue);
        chunk.frame->localPath = home.path(QStringLiteral("still-%1.png").arg(i));
        chunk.frame->motionClipPath.reset();
        still.save(chunk.frame->localPath);
        project.chunks.append(chunk);
    }
    home.library().save(project);
}

TEST(CliMotionAndExport, SettingsChangeOnlyWhatIsGivenThenTheClipsVideoAndLyricsAreWrittenWhereAsked)
{
    const CliHome home;
    saveFramedProject(home);
    EXPECT_EQ(home.json(args("motion-settings --duration 0.5 --fps 4 --loop false")).value(QStringLiteral("fps")), 4);
    DepthFlowSettings expected;
    expected.durationSeconds = 0.5;
    expected.fps = 4;
    expected.loop = false;
    EXPECT_EQ(home.savedProject().motion, expected) << "only what was given changes";
    home.run(args("motion-settings --timing fixed --transition cut"));
    EXPECT_EQ(std::pair(home.savedProject().motion.clipTiming, home.savedProject().motion.transition),
              std::pair(ClipTiming::fixedLength, ClipTransition::cut));
    EXPECT_EQ(home.json({QStringLiteral("status")}).value(QStringLiteral("clipTiming")).toString(), QStringLiteral("fixed"));

    const QByteArray document = home.savedDocument();
    const std::pair<const char *, const char *> refused[] = {
        {"--fps fast", "--fps needs a whole number"},
        {"--duration nan", "--duration needs a length"},
        {"--zoom inf", "--zoom needs a number"},
        {"--loop yes", "--loop needs true or false"},
        {"--timing loose", "--timing needs song or fixed"},
        {"--transition wipe", "--transition needs crossfade or cut"},
        {"--fps 3000000000", "more frames than a clip can hold"},
    };
    for (const auto &[arguments, hint] : refused) {
        const CliResult result = home.run(args("motion-settings") + args(arguments));
        EXPECT_EQ(result.exitCode, 2) << arguments;
        EXPECT_TRUE(result.err.contains(QString::fromUtf8(hint))) << result.err.toStdString();
    }
    EXPECT_EQ(home.savedDocument(), document);

    const CliResult motion = home.run({QStringLiteral("motion")});
    ASSERT_EQ(motion.exitCode, 0) << motion.err.toStdString();
    EXPECT_TRUE(motion.out.startsWith(QStringLiteral("2 clips in "))) << motion.out.toStdString();
    EXPECT_TRUE(motion.err.contains(QStringLiteral("Rendering motion")));
    for (const StoryboardChunk &chunk : home.savedProject().chunks)
        EXPECT_TRUE(QFileInfo::exists(chunk.frame->motionClipPath.value_or(QString())));

    const QString folder = home.path(QStringLiteral("My Videos"));
    const QJsonObject exported =
        home.json(args("export --container mov --resolution 720p --no-audio --to") << folder);
    const QString path = folder + QStringLiteral("/Rain_-_Shine.mov");
    EXPECT_EQ(exported.value(QStringLiteral("path")).toString(), path);
    EXPECT_GT(QFileInfo(path).size(), 0);
    const ExportSettings saved = home.savedProject().exportSettings;
    EXPECT_EQ(saved.destinationFolder, folder);
    EXPECT_EQ(saved.container, ExportContainer::mov);
    EXPECT_EQ(saved.resolution, ExportResolution::p720);
    EXPECT_FALSE(saved.includeOriginalAudio);

    // The timed lyrics go beside the video, named like it, unless turned off.
    EXPECT_EQ(QDir(folder).entryList(QDir::Files), (QStringList{QStringLiteral("Rain_-_Shine.lrc"), QStringLiteral("Rain_-_Shine.mov"),
                                                                 QStringLiteral("Rain_-_Shine.srt")}));
    EXPECT_EQ(parseSrt(QString::fromUtf8(readFile(folder + QStringLiteral("/Rain_-_Shine.srt")))).size(), 2);
    const QString quiet = home.path(QStringLiteral("Quiet"));
    ASSERT_EQ(home.run(args("export --no-subtitles --to") << quiet).exitCode, 0);
    EXPECT_EQ(QDir(quiet).entryList(QDir::Files), QStringList{QStringLiteral("Rain_-_Shine.mov")});
    EXPECT_FALSE(home.savedProject().exportSettings.subtitles);

    // The timed lyrics alone, or why not.
    const QString srt = home.path(QStringLiteral("lyrics.SRT"));
    const CliResult written = home.run({QStringLiteral("lyrics-file"), srt});
    ASSERT_EQ(written.exitCode, 0) << written.err.toStdString();
    EXPECT_EQ(written.out.trimmed(), srt);
    const CliResult wrongName = home.run({QStringLiteral("lyrics-file"), home.path(QStringLiteral("lyrics.txt"))});
    EXPECT_EQ(wrongName.exitCode, 1);
    EXPECT_TRUE(wrongName.err.contains(QStringLiteral("error: lyrics.txt is not a lyrics file name Quillvane can write")))
        << wrongName.err.toStdString();
    EXPECT_FALSE(QFileInfo::exists(home.path(QStringLiteral("lyrics.txt"))));

    // Another shape sends the frames back to be painted, says so, and leaves nothing to export.
    const CliResult reshaped = home.run(args("export --shape 1:1"));
    EXPECT_EQ(reshaped.exitCode, 1);
    EXPECT_TRUE(reshaped.err.startsWith(QStringLiteral("Shape 1:1: 2 frames will be repainted.\n")) &&
                reshaped.err.contains(QStringLiteral("error: Every frame must pass")))
        << reshaped.err.toStdString();
    EXPECT_EQ(home.savedProject().framedCount(), 0);
}

} // namespace
