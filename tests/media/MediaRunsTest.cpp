#include "media/FfmpegMotionRenderer.h"
#include "media/FfmpegVideoExporter.h"
#include "media/MediaFixtures.h"
#include "media/MediaRuns.h"
#include "media/VideoFacts.h"
#include "model/PipelineConfig.h"
#include "store/BlockingWait.h"
#include "support/Fixtures.h"

#include <QDir>
#include <QFile>

#include <gtest/gtest.h>

namespace quillvane {
namespace {

using namespace test;

const QString notReviewed = QStringLiteral("Every frame must pass the readability review before export.");

StoryboardChunk chunk(qint64 index, const QString &still, bool accepted)
{
    StoryboardChunk chunk = chunkWithFrame(accepted);
    chunk.index = index;
    chunk.chunkNumber = index + 1;
    chunk.frame->localPath = still;
    chunk.frame->motionClipPath.reset();
    return chunk;
}

// A store on a library of its own with the real renderer (small frames, two per clip) and
// the real exporter.
struct Fixture {
    explicit Fixture(QList<StoryboardChunk> chunks, const QString &title = QStringLiteral("Song"))
        : store(temp.library(), project(std::move(chunks), title),
                PipelineServices{{}, std::make_shared<FfmpegMotionRenderer>(64, 36),
                                 std::make_shared<FfmpegVideoExporter>(), {}, {}})
    {
    }

    static Project project(QList<StoryboardChunk> chunks, const QString &title)
    {
        Project project;
        project.title = title;
        project.chunks = std::move(chunks);
        project.motion = shortMotion(1, 2);
        project.updatedAt = QDateTime(QDate(2020, 1, 1), QTime(0, 0), Qt::UTC);
        return project;
    }

    QString still(QColor colour) const { return solidStill(stills, colour.name() + QStringLiteral(".png"), colour); }
    const StoryboardChunk &at(qsizetype i) const { return store.project().chunks.at(i); }

    QTemporaryDir stills;
    TempLibrary temp;
    ProjectStore store;
};

TEST(MediaRuns, NothingRendersOrExportsUntilTheFramesAreAccepted)
{
    QTemporaryDir dir;
    const QString still = solidStill(dir, QStringLiteral("s.png"), Qt::red);
    struct Case {
        const char *description;
        QList<StoryboardChunk> chunks;
        bool exporting;
    };
    const Case rows[] = {
        {"motion with no accepted frame", {chunk(0, still, false), chunk(1, still, false)}, false},
        {"motion with no chunks", {}, false},
        {"export with one frame not accepted", {chunk(0, still, true), chunk(1, still, false)}, true},
        {"export with no chunks", {}, true},
    };
    for (const Case &row : rows) {
        SCOPED_TRACE(row.description);
        Fixture f(row.chunks);
        const Project before = f.store.project();
        if (row.exporting)
            EXPECT_EQ(blockingWait(startExportVideo(f.store)), std::nullopt);
        else
            blockingWait(startRenderMotion(f.store));
        EXPECT_EQ(f.store.lastError(), notReviewed);
        EXPECT_EQ(f.store.project(), before);
        EXPECT_FALSE(QDir(f.store.media().clipsFolder()).exists()
                     && !QDir(f.store.media().clipsFolder()).isEmpty());
    }
}

TEST(MediaRuns, MotionRendersEveryAcceptedFrameAndKeepsItsClip)
{
    QTemporaryDir dir;
    const QString still = solidStill(dir, QStringLiteral("s.png"), Qt::red);
    Fixture f({chunk(0, still, true), chunk(1, still, false), chunk(2, still, true), chunk(3, still, true)});
    QList<double> progress;
    QObject::connect(&f.store, &ProjectStore::taskProgressChanged, [&] {
        if (f.store.taskProgress())
            progress.append(*f.store.taskProgress());
    });
    blockingWait(startRenderMotion(f.store));

    ASSERT_FALSE(f.store.lastError()) << f.store.lastError()->toStdString();
    for (qsizetype i : {0, 2, 3}) {
        EXPECT_EQ(f.at(i).frame->motionClipPath, f.store.media().clipPath(f.at(i).id));
        EXPECT_EQ(inspectVideo(*f.at(i).frame->motionClipPath).frameTimes.size(), 2);
    }
    EXPECT_FALSE(f.at(1).frame->motionClipPath);
    EXPECT_GT(f.store.project().updatedAt, QDateTime(QDate(2020, 1, 1), QTime(0, 0), Qt::UTC));
    // Three clips of two frames: each clip moves the bar through its own third.
    ASSERT_FALSE(progress.isEmpty());
    EXPECT_TRUE(std::is_sorted(progress.begin(), progress.end()));
    for (double expected : {1 / 6.0, 1 / 3.0, 1 / 2.0, 2 / 3.0, 5 / 6.0}) {
        EXPECT_TRUE(std::any_of(progress.begin(), progress.end(), [&](double p) { return std::abs(p - expected) < 1e-9; }))
            << expected;
    }
    EXPECT_EQ(progress.back(), 1.0);
}

TEST(MediaRuns, ExportRendersMissingClipsAndPlaysTheChunksInIndexOrder)
{
    Fixture f({});
    f.store.editProject([&](Project &project) {
        project.chunks = {chunk(2, f.still(Qt::red), true), chunk(0, f.still(Qt::green), true),
                          chunk(1, f.still(Qt::blue), true)};
    });
    const std::optional<QString> path = blockingWait(startExportVideo(f.store));

    ASSERT_FALSE(f.store.lastError()) << f.store.lastError()->toStdString();
    ASSERT_EQ(path, f.store.media().exportsFolder() + QStringLiteral("/Song.mp4"));
    for (const StoryboardChunk &c : f.store.project().chunks)
        EXPECT_EQ(c.frame->motionClipPath, f.store.media().clipPath(c.id));
    const VideoFacts facts = inspectVideo(*path);
    ASSERT_EQ(facts.frameColours.size(), 6);
    const QList<QColor> order{Qt::green, Qt::blue, Qt::red};
    for (int k = 0; k < 6; ++k)
        EXPECT_NEAR(facts.frameColours[k].cb, expectedColour(order[k / 2]).cb, 4) << k;
    EXPECT_EQ(facts.audioStreams, 0);
}

TEST(MediaRuns, TheExportIsNamedAfterTheTitleInsideItsFolder)
{
    QTemporaryDir destination;
    struct Case {
        const char *description;
        QString title;
        ExportContainer container;
        bool ownFolder;
        QString name;
    };
    const Case rows[] = {
        {"slash and blanks", QStringLiteral("AC/DC Live Set"), ExportContainer::mp4, false, QStringLiteral("AC-DC_Live_Set.mp4")},
        {"empty title as mp4", QString(), ExportContainer::mp4, false, QStringLiteral("lyric-video.mp4")},
        {"empty title as mov", QString(), ExportContainer::mov, false, QStringLiteral("lyric-video.mov")},
        {"chosen folder", QStringLiteral("Song"), ExportContainer::mov, true, QStringLiteral("Song.mov")},
    };
    for (const Case &row : rows) {
        SCOPED_TRACE(row.description);
        Fixture f({}, row.title);
        f.store.editProject([&](Project &project) {
            project.chunks = {chunk(0, f.still(Qt::red), true)};
            project.exportSettings.container = row.container;
            if (row.ownFolder)
                project.exportSettings.destinationFolder = destination.path();
        });
        const QString folder = row.ownFolder ? destination.path() : f.store.media().exportsFolder();
        EXPECT_EQ(blockingWait(startExportVideo(f.store)), folder + QLatin1Char('/') + row.name);
        EXPECT_TRUE(QFile::exists(folder + QLatin1Char('/') + row.name));
        EXPECT_EQ(QDir(folder).entryList(QDir::AllEntries | QDir::NoDotAndDotDot), QStringList{row.name});
    }
}

TEST(MediaRuns, TheTracksAudioGoesUnderTheVideo)
{
    QTemporaryDir dir;
    Fixture f({chunk(0, solidStill(dir, QStringLiteral("s.png"), Qt::red), true)});
    const QString song = tone(dir, 3);
    f.store.editProject([&](Project &project) { project.audioPath = song; });
    const std::optional<QString> path = blockingWait(startExportVideo(f.store));
    ASSERT_TRUE(path);
    const VideoFacts facts = inspectVideo(*path);
    EXPECT_EQ(facts.audioStreams, 1);
    EXPECT_NEAR(facts.audioSeconds, 1.0, 0.03);
}

TEST(MediaRuns, AClipDeletedAfterRenderingFailsTheExportWithItsName)
{
    QTemporaryDir dir;
    Fixture f({chunk(0, solidStill(dir, QStringLiteral("s.png"), Qt::red), true)});
    blockingWait(startRenderMotion(f.store));
    const QString clip = *f.at(0).frame->motionClipPath;
    QFile::remove(clip);
    const Project before = f.store.project();
    EXPECT_EQ(blockingWait(startExportVideo(f.store)), std::nullopt);
    EXPECT_EQ(f.store.lastError(), QStringLiteral("Export failed: could not read the clip %1.").arg(clip));
    EXPECT_EQ(f.store.project(), before);
}

} // namespace
} // namespace quillvane
