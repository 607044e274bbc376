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

// A project of two chunks whose frames are stills in the home folder, saved as the last project.
Project framedProject(const CliHome &home, bool accepted)
{
    Project project;
    project.title = QStringLiteral("Rain / Shine");
    TranscriptSegment first;
    first.text = QStringLiteral("Rain falls");
    first.start = 0.25;
    first.end = 1.9;
    TranscriptSegment second;
    second.text = QStringLiteral("Shine on");
    second.start = 2.0;
    second.end = 3.5;
    project.transcript = {first, second};
    for (qint64 i = 0; i < 2; ++i) {
        StoryboardChunk chunk = chunkWithFrame(accepted);
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
    return project;
}

TEST(CliMotionSettings, EditsOnlyWhatIsGivenAndPrintsTheResult)
{
    const CliHome home;
    EXPECT_EQ(home.json(args("motion-settings --duration 2.5 --fps 24 --loop false")).value(QStringLiteral("fps")), 24);
    DepthFlowSettings expected;
    expected.durationSeconds = 2.5;
    expected.fps = 24;
    expected.loop = false;
    EXPECT_EQ(home.savedProject().motion, expected) << "only what was given changes";

    home.run(args("motion-settings --timing fixed"));
    EXPECT_EQ(home.savedProject().motion.clipTiming, ClipTiming::fixedLength);
    EXPECT_EQ(home.json({QStringLiteral("status")}).value(QStringLiteral("clipTiming")).toString(), QStringLiteral("fixed"));
}

TEST(CliMotionSettings, RefusesValuesNoClipCanUse)
{
    const CliHome home;
    home.run({QStringLiteral("status")});
    const QByteArray document = home.savedDocument();
    const struct {
        QStringList arguments;
        QString hint;
    } cases[] = {
        {args("--fps fast"), QStringLiteral("--fps needs a whole number")},
        {args("--duration nan"), QStringLiteral("--duration needs a length")},
        {args("--zoom inf"), QStringLiteral("--zoom needs a number")},
        {args("--loop yes"), QStringLiteral("--loop needs true or false")},
        {args("--timing loose"), QStringLiteral("--timing needs song or fixed")},
        {args("--fps 3000000000"), QStringLiteral("more frames than a clip can hold")},
    };
    for (const auto &c : cases) {
        const CliResult result = home.run(QStringList{QStringLiteral("motion-settings")} + c.arguments);
        EXPECT_EQ(result.exitCode, 2) << c.arguments.join(QLatin1Char(' ')).toStdString();
        EXPECT_TRUE(result.err.contains(c.hint)) << result.err.toStdString();
    }
    EXPECT_EQ(home.savedDocument(), document);
}

TEST(CliMotionAndExport, RenderTheClipsThenWriteTheVideoWhereAsked)
{
    const CliHome home;
    framedProject(home, true);
    ASSERT_EQ(home.run(args("motion-settings --duration 0.5 --fps 4")).exitCode, 0);
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
}

TEST(CliLyricsFile, WritesTheTimedLyricsAloneOrSaysWhyNot)
{
    const CliHome home;
    framedProject(home, true);
    const QString srt = home.path(QStringLiteral("lyrics.SRT"));
    const CliResult written = home.run({QStringLiteral("lyrics-file"), srt});
    ASSERT_EQ(written.exitCode, 0) << written.err.toStdString();
    EXPECT_EQ(written.out.trimmed(), srt);
    const CliResult wrongName = home.run({QStringLiteral("lyrics-file"), home.path(QStringLiteral("lyrics.txt"))});
    EXPECT_EQ(wrongName.exitCode, 1);
    EXPECT_TRUE(wrongName.err.contains(QStringLiteral("error: lyrics.txt is not a lyrics file name Quillvane can write")))
        << wrongName.err.toStdString();
    EXPECT_FALSE(QFileInfo::exists(home.path(QStringLiteral("lyrics.txt"))));
}

} // namespace
