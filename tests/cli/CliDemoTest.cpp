// The demo from a machine that has never seen Quillvane: a fresh HOME, one command, and a
// video a user can play. Everything runs for real: espeak-ng, the speech engine, the offline
// studio on loopback, the motion renderer and the exporter.

#include "media/VideoFacts.h"
#include "CliHome.h"

#include <QDir>
#include <QFileInfo>
#include <QProcess>
#include <QRegularExpression>
#include <QSize>

#include <gtest/gtest.h>

#include <csignal>

using namespace quillvane;
using quillvane::test::CliHome;

TEST(CliDemo, AFreshMachineGetsAPlayableLyricVideo)
{
    CliHome home;
    home.timeout = std::chrono::minutes(5);
    const QString destination = home.path(QStringLiteral("Videos/demo out"));
    const test::CliResult result = home.run({QStringLiteral("demo"), QStringLiteral("--to"), destination});
    ASSERT_EQ(result.exitCode, 0) << qPrintable(result.err);
    for (const char *label : {"Aligning timing", "Rendering motion", "Exporting video"})
        EXPECT_TRUE(result.err.contains(QString::fromLatin1(label))) << "no progress shown for " << label;

    const QString video = result.out.trimmed();
    EXPECT_EQ(QFileInfo(video).absolutePath(), destination);
    const test::VideoFacts facts = test::inspectVideo(video);
    ASSERT_TRUE(facts.opened) << qPrintable(video);
    EXPECT_EQ(facts.majorBrand, QByteArray("isom"));
    EXPECT_EQ(facts.videoCodec, QStringLiteral("h264"));
    EXPECT_EQ(QSize(facts.width, facts.height), QSize(1920, 1080));
    EXPECT_EQ(facts.audioStreams, 1);
    EXPECT_EQ(facts.audioCodec, QStringLiteral("aac"));

    // One clip per chunk, laid end to end: the video lasts as long as its clips together.
    const Project project = home.savedProject();
    ASSERT_FALSE(project.chunks.isEmpty());
    const QString clipsFolder = home.library().mediaFor(project.id).clipsFolder();
    EXPECT_EQ(QDir(clipsFolder).entryList(QDir::Files).size(), project.chunks.size());
    double clipsTogether = 0;
    for (const StoryboardChunk &chunk : project.chunks) {
        ASSERT_TRUE(chunk.frame && chunk.frame->motionClipPath) << "chunk " << chunk.chunkNumber << " has no clip";
        EXPECT_EQ(QFileInfo(*chunk.frame->motionClipPath).absolutePath(), clipsFolder);
        clipsTogether += test::inspectVideo(*chunk.frame->motionClipPath).videoEnd;
    }
    EXPECT_NEAR(facts.videoEnd, clipsTogether, 1.0 / 30);
    EXPECT_NEAR(facts.audioSeconds, facts.videoEnd, 0.05);
    EXPECT_EQ(home.json({QStringLiteral("status")}).value(QStringLiteral("accepted")).toInt(), project.chunks.size());
}

// Ctrl+C in the middle of the road: the stage running stops, the ones after it never start,
// and what was made so far is saved.
// (Cancelling inside the later stages is the engines' own and is tested with them.)
TEST(CliDemo, CtrlCStopsTheRoadAndKeepsWhatWasMade)
{
    const QByteArray interruptAt = "Generating frame 2";
    CliHome home;
    QProcess demo;
    demo.setProcessEnvironment(home.processEnvironment());
    demo.start(QStringLiteral(QUILLVANE_CLI_PATH), {QStringLiteral("demo"), QStringLiteral("--to"), home.path(QStringLiteral("out"))});
    QByteArray err;
    while (!err.contains(interruptAt) && demo.state() != QProcess::NotRunning) {
        demo.waitForReadyRead(1000);
        err += demo.readAllStandardError();
    }
    ASSERT_TRUE(err.contains(interruptAt)) << err.constData();
    ::kill(pid_t(demo.processId()), SIGINT);
    ASSERT_TRUE(demo.waitForFinished(60000));
    err += demo.readAllStandardError();
    EXPECT_EQ(demo.exitCode(), 130) << err.constData();
    // Nothing starts once the cancel is taken: after it, no task but the one under way shows.
    const qsizetype cancelAt = err.indexOf("Cancelling");
    ASSERT_GE(cancelAt, 0) << err.constData();
    const QString before = QString::fromUtf8(err.left(cancelAt));
    const QString after = QString::fromUtf8(err.mid(cancelAt));
    static const QRegularExpression task(QStringLiteral("(Generating frame (\\d+)|Rendering motion|Exporting video)"));
    QString underWay;
    qsizetype startedFrames = 0;
    for (auto found = task.globalMatch(before); found.hasNext();) {
        const QRegularExpressionMatch match = found.next();
        underWay = match.captured(1);
        startedFrames = std::max(startedFrames, qsizetype(match.captured(2).toInt()));
    }
    for (auto found = task.globalMatch(after); found.hasNext();)
        EXPECT_EQ(found.next().captured(1), underWay) << "started after the cancel";
    EXPECT_FALSE(err.contains("Exporting video")) << "export started after the cancel";
    EXPECT_TRUE(demo.readAllStandardOutput().isEmpty());
    EXPECT_FALSE(QFileInfo::exists(home.path(QStringLiteral("out"))));

    const Project saved = home.savedProject();
    EXPECT_EQ(saved.title, QStringLiteral("Neon Overpass"));
    ASSERT_FALSE(saved.chunks.isEmpty());
    EXPECT_TRUE(saved.chunks.first().isFramed()) << "the first frame was made before the cancel and stays";
    // Frames are painted quickly offline: the road may be further on than the line the signal
    // answered. What counts is that no frame was painted that had not started by the cancel.
    EXPECT_LE(saved.framedCount(), startedFrames) << "a frame was painted after the cancel";
    EXPECT_GE(saved.framedCount(), startedFrames - 1) << "a finished frame was lost";
}
