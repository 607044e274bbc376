#include "av/AudioClip.h"
#include "media/FfmpegVideoExporter.h"
#include "media/MediaFixtures.h"
#include "pipeline/MediaOperations.h"
#include "media/VideoFacts.h"
#include "store/BlockingWait.h"
#include "support/Fixtures.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QThread>

#include <gtest/gtest.h>

namespace quillvane {
namespace {

// The exported file's path, or nothing when the export did not finish.
std::optional<QString> exportedPath(ProjectStore &store)
{
    const Outcome<QString> exported = blockingWait(startExportVideo(store));
    return exported.isDone() ? std::optional(exported.value()) : std::nullopt;
}

using namespace test;

// A small still of one colour, painted once for the whole run.
QString still(QColor colour)
{
    static QTemporaryDir dir;
    const QString name = colour.name() + QStringLiteral(".png");
    return QFile::exists(dir.filePath(name)) ? dir.filePath(name) : solidStill(dir, name, colour);
}

StoryboardChunk chunk(qint64 index, QColor colour, bool accepted, double start = 0)
{
    StoryboardChunk chunk = chunkWithFrame(accepted);
    chunk.index = index;
    chunk.chunkNumber = index + 1;
    chunk.start = start;
    chunk.end = start + 0.3;
    chunk.frame->localPath = still(colour);
    chunk.frame->motionClipPath.reset();
    return chunk;
}

// A store on a library of its own with the real renderer (two frames per clip, or following
// the song at 10 frames a second, in the project's shape) and the real exporter.
struct Fixture {
    explicit Fixture(QList<StoryboardChunk> chunks, const QString &title = QStringLiteral("Song"), const QString &song = {})
        : store(temp.library(), project(std::move(chunks), title, song),
                PipelineServices{{}, std::make_shared<FfmpegMotionRenderer>(),
                                 std::make_shared<FfmpegVideoExporter>(), {}, {}, {}}) {}

    static Project project(QList<StoryboardChunk> chunks, const QString &title, const QString &song)
    {
        Project project;
        project.title = title;
        project.chunks = std::move(chunks);
        project.audioPath = song;
        project.motion = shortMotion(1, song.isEmpty() ? 2 : 10);
        project.motion.clipTiming = song.isEmpty() ? ClipTiming::fixedLength : ClipTiming::followSong;
        project.updatedAt = QDateTime(QDate(2020, 1, 1), QTime(0, 0), Qt::UTC);
        return project;
    }

    const StoryboardChunk &at(qsizetype i) const { return store.project().chunks.at(i); }
    std::string error() const { return store.session().lastError().value_or(QString()).toStdString(); }
    bool wroteInto(const QString &folder) const { return QDir(folder).exists() && !QDir(folder).isEmpty(); }

    TempLibrary temp;
    ProjectStore store;
};

TEST(MediaRuns, NothingRendersOrExportsUntilTheFramesAreAccepted)
{
    const struct {
        const char *description;
        QList<StoryboardChunk> chunks;
        bool exporting;
    } rows[] = {
        {"motion with no accepted frame", {chunk(0, Qt::red, false), chunk(1, Qt::red, false)}, false},
        {"motion with no chunks", {}, false},
        {"export with one frame not accepted", {chunk(0, Qt::red, true), chunk(1, Qt::red, false)}, true},
        {"export with no chunks", {}, true},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.description);
        Fixture f(row.chunks);
        const Project before = f.store.project();
        if (row.exporting)
            EXPECT_EQ(exportedPath(f.store), std::nullopt);
        else
            blockingWait(startRenderMotion(f.store));
        EXPECT_EQ(f.store.session().lastError(), QStringLiteral("Every frame must pass the readability review before export."));
        EXPECT_EQ(f.store.project(), before);
        EXPECT_FALSE(f.wroteInto(f.store.document().media().clipsFolder()));
    }
}

TEST(MediaRuns, MotionRendersTheAcceptedFramesAndExportRendersTheRestInIndexOrder)
{
    QTemporaryDir destination;
    Fixture f({chunk(2, Qt::red, true), chunk(0, Qt::green, true), chunk(1, Qt::blue, false), chunk(3, Qt::yellow, true)},
              QStringLiteral("AC/DC Live Set"));
    QList<double> progress;
    QObject::connect(&f.store.session(), &TaskSession::taskProgressChanged, [&] {
        if (f.store.session().taskProgress())
            progress.append(*f.store.session().taskProgress());
    });
    blockingWait(startRenderMotion(f.store));

    ASSERT_FALSE(f.store.session().lastError()) << f.error();
    for (qsizetype i : {0, 1, 3}) {
        EXPECT_EQ(f.at(i).frame->motionClipPath, f.store.document().media().clipPath(f.at(i).id));
        EXPECT_EQ(inspectVideo(*f.at(i).frame->motionClipPath).frameTimes.size(), 2);
    }
    EXPECT_FALSE(f.at(2).frame->motionClipPath);
    EXPECT_GT(f.store.project().updatedAt, QDateTime(QDate(2020, 1, 1), QTime(0, 0), Qt::UTC));
    // Three clips of two frames: each clip moves the bar through its own third.
    ASSERT_FALSE(progress.isEmpty());
    EXPECT_TRUE(std::is_sorted(progress.begin(), progress.end()));
    for (double expected : {1 / 6.0, 1 / 3.0, 1 / 2.0, 2 / 3.0, 5 / 6.0})
        EXPECT_TRUE(std::any_of(progress.begin(), progress.end(), [&](double p) { return std::abs(p - expected) < 1e-9; })) << expected;
    EXPECT_EQ(progress.back(), 1.0);

    // Accepted at last, the blue frame gets its clip at export, into the chosen folder.
    f.store.editProject([&](Project &project) {
        project.chunks[2] = chunk(1, Qt::blue, true);
        project.exportSettings.container = ExportContainer::mov;
        project.exportSettings.destinationFolder = destination.path();
    });
    const std::optional<QString> path = exportedPath(f.store);
    ASSERT_EQ(path, destination.filePath(QStringLiteral("AC-DC_Live_Set.mov"))) << f.error();
    EXPECT_EQ(QDir(destination.path()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot).size(), 1);
    for (const StoryboardChunk &c : f.store.project().chunks)
        EXPECT_EQ(c.frame->motionClipPath, f.store.document().media().clipPath(c.id));
    const VideoFacts facts = inspectVideo(*path);
    ASSERT_EQ(facts.frameColours.size(), 8);
    const QList<QColor> order{Qt::green, Qt::blue, Qt::red, Qt::yellow};
    // The first frame of every clip after the first is half the clip before, cross-faded.
    for (int k = 0; k < 8; ++k)
        EXPECT_NEAR(facts.frameColours[k].cb,
                    k % 2 || k == 0 ? expectedColour(order[k / 2]).cb
                                    : (expectedColour(order[k / 2 - 1]).cb + expectedColour(order[k / 2]).cb) / 2,
                    4)
            << k;
    EXPECT_EQ(facts.audioStreams, 0);
}

TEST(MediaRuns, TheExportFollowsTheSongFrameByFrameAndAgainRendersOnlyTheClipsThatChanged)
{
    // Three chunks over a four-second song: a title card until the first lyric at 1.5 s, then
    // each colour from its chunk's start to the next one's. Stored out of order, with rough
    // ends: the spans come from the starts alone.
    QTemporaryDir dir;
    const QString song = tone(dir, 4);
    Fixture f({chunk(2, Qt::blue, true, 3.1), chunk(0, Qt::red, true, 1.5), chunk(1, Qt::green, true, 2.2)}, QString(), song);
    std::optional<QString> path = exportedPath(f.store);
    // An untitled song is exported under a name of its own, not a hidden file.
    ASSERT_EQ(path, f.store.document().media().exportsFolder() + QStringLiteral("/lyric-video.mp4")) << f.error();

    const double songLength = probeAudioDuration(song);
    VideoFacts facts = inspectVideo(*path);
    EXPECT_NEAR(facts.videoEnd, songLength, 0.1); // one frame
    EXPECT_GE(facts.videoEnd, songLength - 1e-3) << "the song is cut";
    EXPECT_NEAR(facts.audioSeconds, songLength, 0.1);

    // Which picture is on screen on either side of every boundary; the first three frames of
    // every clip cross-fade into it, from the clip before or from the title card.
    const YuvColour red = expectedColour(Qt::red);
    ASSERT_GE(facts.frameColours.size(), 40);
    const auto isColour = [&](int k, QColor colour) {
        const YuvColour want = expectedColour(colour);
        return std::abs(facts.frameColours[k].cb - want.cb) < 5 && std::abs(facts.frameColours[k].cr - want.cr) < 5;
    };
    for (int k : {0, 14})
        EXPECT_GT(std::abs(facts.frameColours[k].cr - red.cr), 20) << "frame " << k << " shows the lyric early";
    const int last = int(facts.frameColours.size()) - 1;
    for (const auto &[k, colour] :
         {std::pair{18, Qt::red}, {21, Qt::red}, {25, Qt::green}, {30, Qt::green}, {34, Qt::blue}, {last, Qt::blue}})
        EXPECT_TRUE(isColour(k, colour)) << k;
    for (const auto &[k, before, after] : {std::tuple{22, Qt::red, Qt::green}, {33, Qt::green, Qt::blue}})
        EXPECT_FALSE(isColour(k, before) || isColour(k, after)) << k;

    // The clips tile the video, and the chunks carry the spans they were cut from.
    const QList<StoryboardChunk> &chunks = f.store.project().chunks;
    double clipsLength = 0;
    for (const StoryboardChunk &c : chunks)
        clipsLength += inspectVideo(*c.frame->motionClipPath).videoEnd;
    EXPECT_NEAR(clipsLength, facts.videoEnd, 1e-6);
    EXPECT_EQ((std::tuple{chunks[1].start, chunks[1].end, chunks[2].start, chunks[2].end, chunks[0].start, chunks[0].end}),
              (std::tuple{1.5, 2.2, 2.2, 3.1, 3.1, songLength}));

    // One frame changed and one clip deleted from disk: only those two, and the clip that
    // cross-fades from the changed frame, are rendered again.
    QHash<QUuid, QDateTime> written;
    for (const StoryboardChunk &c : chunks)
        written.insert(c.id, QFileInfo(*c.frame->motionClipPath).lastModified());
    QThread::msleep(30);
    const QUuid edited = f.at(1).id; // index 0, red
    const QUuid next = f.at(2).id; // index 1, green
    const QUuid deleted = f.at(0).id; // index 2, blue
    QFile::remove(*f.at(0).frame->motionClipPath);
    f.store.editProject([&](Project &project) {
        project.chunks[1].frame->localPath = still(Qt::yellow);
        project.chunks[1].frame->motionClipPath.reset();
    });
    path = exportedPath(f.store);
    ASSERT_TRUE(path);
    for (const StoryboardChunk &c : f.store.project().chunks)
        EXPECT_EQ(QFileInfo(*c.frame->motionClipPath).lastModified() != written.value(c.id),
                  c.id == edited || c.id == next || c.id == deleted);
    facts = inspectVideo(*path);
    EXPECT_NEAR(facts.frameColours[18].cb, expectedColour(Qt::yellow).cb, 5);
    EXPECT_TRUE(isColour(int(facts.frameColours.size()) - 1, Qt::blue));
}

TEST(MediaRuns, SungLyricsAreLetteredAndAnEditedLineRendersOnlyTheClipItShowsIn)
{
    QTemporaryDir dir;
    Fixture f({chunk(0, Qt::red, true, 1.5), chunk(1, Qt::green, true, 2.2), chunk(2, Qt::blue, true, 3.1)}, QString(),
              tone(dir, 4));
    const auto sung = [](const char *text, double start, double end) {
        TranscriptSegment line;
        line.text = QString::fromLatin1(text);
        line.start = start;
        line.end = end;
        return line;
    };
    f.store.editProject([&](Project &project) {
        project.style.lyricsOnScreen = LyricsOnScreen::sung;
        project.transcript = {sung("FIRST", 1.6, 2.1), sung("SECOND", 3.2, 3.9)};
    });
    std::optional<QString> path = exportedPath(f.store);
    ASSERT_TRUE(path) << f.error();
    // Letters brighter than the red picture while the first line is sung, and none after it.
    const VideoFacts facts = inspectVideo(*path, {18, 21});
    ASSERT_EQ(facts.luma.size(), 2);
    EXPECT_GT(*std::max_element(facts.luma[0].samples.begin(), facts.luma[0].samples.end()), 100);
    EXPECT_LT(*std::max_element(facts.luma[1].samples.begin(), facts.luma[1].samples.end()), 80);

    QHash<QUuid, QDateTime> written;
    for (const StoryboardChunk &c : f.store.project().chunks)
        written.insert(c.id, QFileInfo(*c.frame->motionClipPath).lastModified());
    QThread::msleep(30);
    f.store.editProject([](Project &project) { project.transcript[1].text = QStringLiteral("CHANGED"); });
    path = exportedPath(f.store);
    ASSERT_TRUE(path) << f.error();
    for (const StoryboardChunk &c : f.store.project().chunks)
        EXPECT_EQ(QFileInfo(*c.frame->motionClipPath).lastModified() != written.value(c.id), c.index == 2) << c.index;
}

TEST(MediaRuns, ASongEndingBeforeEveryChunkIsRefusedWithASentence)
{
    QTemporaryDir dir;
    Fixture f({chunk(0, Qt::red, true, 5), chunk(1, Qt::blue, true, 6)}, QStringLiteral("Song"), tone(dir, 1));
    const Project before = f.store.project();
    EXPECT_EQ(exportedPath(f.store), std::nullopt);
    EXPECT_EQ(f.store.session().lastError(), QStringLiteral("Every chunk starts after the end of the track, so no frame would "
                                                            "be on screen. Time the lyrics again against this track."));
    EXPECT_EQ(f.store.project(), before);
    EXPECT_FALSE(f.wroteInto(f.store.document().media().exportsFolder()));
}

} // namespace
} // namespace quillvane
