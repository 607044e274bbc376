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
    const QJsonObject printed = home.json({QStringLiteral("motion-settings"), QStringLiteral("--duration"),
                                           QStringLiteral("2.5"), QStringLiteral("--fps"), QStringLiteral("24"),
                                           QStringLiteral("--loop"), QStringLiteral("false")});
    EXPECT_EQ(printed.value(QStringLiteral("durationSeconds")).toDouble(), 2.5);
    EXPECT_EQ(printed.value(QStringLiteral("fps")).toInt(), 24);
    EXPECT_EQ(printed.value(QStringLiteral("intensity")).toDouble(), 0.5);
    const DepthFlowSettings saved = home.savedProject().motion;
    EXPECT_EQ(saved.durationSeconds, 2.5);
    EXPECT_EQ(saved.fps, 24);
    EXPECT_FALSE(saved.loop);
    EXPECT_EQ(saved.zoom, 0.15);
    EXPECT_EQ(saved.clipTiming, ClipTiming::followSong);
    EXPECT_EQ(home.json({QStringLiteral("status")}).value(QStringLiteral("clipTiming")).toString(), QStringLiteral("song"));

    const QJsonObject fixed = home.json({QStringLiteral("motion-settings"), QStringLiteral("--timing"), QStringLiteral("fixed")});
    EXPECT_EQ(fixed.value(QStringLiteral("clipTiming")).toString(), QStringLiteral("fixed"));
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
        {{QStringLiteral("--fps"), QStringLiteral("fast")}, QStringLiteral("--fps needs a whole number")},
        {{QStringLiteral("--duration"), QStringLiteral("nan")}, QStringLiteral("--duration needs a length")},
        {{QStringLiteral("--zoom"), QStringLiteral("inf")}, QStringLiteral("--zoom needs a number")},
        {{QStringLiteral("--loop"), QStringLiteral("yes")}, QStringLiteral("--loop needs true or false")},
        {{QStringLiteral("--timing"), QStringLiteral("loose")}, QStringLiteral("--timing needs song or fixed")},
        {{QStringLiteral("--fps"), QStringLiteral("3000000000")}, QStringLiteral("more frames than a clip can hold")},
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
    ASSERT_EQ(home.run({QStringLiteral("motion-settings"), QStringLiteral("--duration"), QStringLiteral("0.5"),
                        QStringLiteral("--fps"), QStringLiteral("4")})
                  .exitCode,
              0);
    const CliResult motion = home.run({QStringLiteral("motion")});
    ASSERT_EQ(motion.exitCode, 0) << motion.err.toStdString();
    EXPECT_TRUE(motion.out.startsWith(QStringLiteral("2 clips in "))) << motion.out.toStdString();
    EXPECT_TRUE(motion.err.contains(QStringLiteral("Rendering motion")));
    for (const StoryboardChunk &chunk : home.savedProject().chunks)
        EXPECT_TRUE(QFileInfo::exists(chunk.frame->motionClipPath.value_or(QString())));

    const QString folder = home.path(QStringLiteral("My Videos"));
    const QJsonObject exported = home.json({QStringLiteral("export"), QStringLiteral("--to"), folder,
                                            QStringLiteral("--container"), QStringLiteral("mov"),
                                            QStringLiteral("--resolution"), QStringLiteral("720p"),
                                            QStringLiteral("--no-audio")});
    const QString path = folder + QStringLiteral("/Rain_-_Shine.mov");
    EXPECT_EQ(exported.value(QStringLiteral("path")).toString(), path);
    EXPECT_GT(QFileInfo(path).size(), 0);
    const ExportSettings saved = home.savedProject().exportSettings;
    EXPECT_EQ(saved.destinationFolder, folder);
    EXPECT_EQ(saved.container, ExportContainer::mov);
    EXPECT_EQ(saved.resolution, ExportResolution::p720);
    EXPECT_FALSE(saved.includeOriginalAudio);

    // The timed lyrics go beside the video, named like it, unless turned off.
    const QList<TranscriptSegment> transcript = home.savedProject().transcript;
    const auto read = [](const QString &file) {
        QFile f(file);
        return f.open(QIODevice::ReadOnly) ? QString::fromUtf8(f.readAll()) : QString();
    };
    const QList<TranscriptSegment> srt = parseSrt(read(folder + QStringLiteral("/Rain_-_Shine.srt")));
    const QList<TranscriptSegment> lrc = parseLrc(read(folder + QStringLiteral("/Rain_-_Shine.lrc")));
    ASSERT_EQ(srt.size(), 2);
    ASSERT_EQ(lrc.size(), 2);
    for (qsizetype i = 0; i < 2; ++i) {
        EXPECT_EQ(srt[i].text, transcript[i].text);
        EXPECT_NEAR(srt[i].start, transcript[i].start, 0.001);
        EXPECT_NEAR(srt[i].end, transcript[i].end, 0.001);
        EXPECT_EQ(lrc[i].text, transcript[i].text);
        EXPECT_NEAR(lrc[i].start, transcript[i].start, 0.005);
    }
    const QString quiet = home.path(QStringLiteral("Quiet"));
    ASSERT_EQ(home.run({QStringLiteral("export"), QStringLiteral("--to"), quiet, QStringLiteral("--no-subtitles")}).exitCode, 0);
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

TEST(CliMotionAndExport, UnreviewedFramesStopBothWithTheReviewSentence)
{
    const CliHome home;
    framedProject(home, false);
    for (const QString &command : {QStringLiteral("motion"), QStringLiteral("export")}) {
        const CliResult result = home.run({command});
        EXPECT_EQ(result.exitCode, 1) << command.toStdString();
        EXPECT_TRUE(result.err.contains(
            QStringLiteral("error: Every frame must pass the readability review before export.")))
            << result.err.toStdString();
        EXPECT_TRUE(result.out.isEmpty());
    }
}

} // namespace
