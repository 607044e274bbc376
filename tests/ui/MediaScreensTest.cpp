#include "UiHarness.h"

#include <QGuiApplication>
#include <QImage>

#include <gtest/gtest.h>

namespace quillvane {
namespace {

using test::UiHarness;

// Chunks of 4.25 s with frames (and stills painted into `stills` when given) but no clips.
Project project(int total, int accepted, const test::TempLibrary *stills = nullptr)
{
    Project project;
    project.title = QStringLiteral("Letters in the Snow");
    for (int i = 0; i < total; ++i) {
        StoryboardChunk chunk = test::chunkWithFrame(i < accepted);
        chunk.index = i;
        chunk.chunkNumber = i + 1;
        chunk.start = i * 4.25;
        chunk.end = chunk.start + 4.25;
        chunk.frame->motionClipPath.reset();
        if (stills) {
            QImage image(640, 360, QImage::Format_RGB32);
            image.fill(QColor(30 + 20 * i, 70, 90));
            chunk.frame->localPath = stills->path(QStringLiteral("still-%1.png").arg(i));
            image.save(chunk.frame->localPath);
        }
        project.chunks.append(chunk);
    }
    project.motion.zoom = 0.25;
    project.motion.durationSeconds = 2.0;
    return project;
}

TEST(OutputScreens, MotionTimingExportLockAndTheWrittenVideosPath)
{
    UiHarness ui(project(10, 3), PipelineStage::motion);
    // The clip duration applies only to fixed-length clips.
    EXPECT_EQ(ui.find("timingPicker")->property("currentIndex").toInt(), 0);
    EXPECT_FALSE(ui.find("durationRow")->isEnabled());
    ui.store.editProject([](Project &p) { p.motion.clipTiming = ClipTiming::fixedLength; });
    ui.settle();
    EXPECT_EQ(ui.find("timingPicker")->property("currentIndex").toInt(), 1);
    EXPECT_TRUE(ui.find("durationRow")->isEnabled());
    ui.store.editProject([](Project &p) { p.motion.clipTiming = ClipTiming::followSong; });

    // Export stays locked until every frame is accepted, and never runs beside another task.
    ui.show(PipelineStage::exportStage);
    EXPECT_TRUE(ui.shown("lockNotice"));
    EXPECT_FALSE(ui.find("exportButton")->isEnabled());
    EXPECT_EQ(ui.text("summary-Duration"), QStringLiteral("0:42")) << "42.5 s, cut to the second";
    ui.screenshot("export-locked");
    ui.bridges.exporting.setDestination(QStringLiteral("file:///home/mara/Videos/Finished"));
    ui.store.editProject([](Project &p) {
        for (StoryboardChunk &chunk : p.chunks)
            chunk.frame->review = test::chunkWithFrame(true).frame->review;
    });
    ui.settle();
    EXPECT_EQ(ui.store.project().exportSettings.destinationFolder, QStringLiteral("/home/mara/Videos/Finished"));
    EXPECT_EQ(ui.text("destinationText"), QStringLiteral("/home/mara/Videos/Finished"));
    EXPECT_TRUE(ui.find("exportButton")->isEnabled());
    ui.store.session().setRunningTask(QStringLiteral("Exporting video"));
    ui.settle();
    EXPECT_FALSE(ui.find("exportButton")->isEnabled());

    // The test machine has no session bus and no program registered for folders: the written
    // video's path is shown to copy instead.
    EXPECT_FALSE(ui.shown("revealFallback"));
    Q_EMIT ui.bridges.exporting.exported(QUrl::fromLocalFile(QStringLiteral("/videos/Song.mp4")));
    ui.settle();
    EXPECT_TRUE(ui.shown("revealFallback") && ui.shown("copyPathButton"));
}

TEST(PreviewScreen, FindsTheClipOnScreenAtEveryMomentOfTheVideo)
{
    Project timed = project(3, 3);
    timed.audioDuration = 14;
    timed.chunks[0].start = 1.5; // a title card until then, in the first clip
    timed.chunks[1].start = 4;
    timed.chunks[2].start = 9.25;
    const QString first = uuidText(timed.chunks[0].id);
    const QString second = uuidText(timed.chunks[1].id);
    const QString third = uuidText(timed.chunks[2].id);
    UiHarness ui(timed);
    const ui::ExportBridge &media = ui.bridges.exporting;
    const struct {
        double seconds;
        QString chunk;
    } song[] = {{0, first}, {3.99, first}, {4.0, second}, {9.2, second}, {9.3, third}, {13.9, third}, {99, third}};
    for (const auto &moment : song)
        EXPECT_EQ(media.chunkAt(moment.seconds), moment.chunk) << moment.seconds;
    EXPECT_EQ(media.clipStart(first), 0);
    EXPECT_EQ(media.clipStart(second), 4);
    EXPECT_NEAR(media.clipStart(third), 9.25, 1.0 / 30);

    ui.store.editProject([](Project &p) { p.motion.clipTiming = ClipTiming::fixedLength; });
    EXPECT_EQ(media.chunkAt(2.5), second);
    EXPECT_EQ(media.clipStart(third), 4);
}

TEST(PreviewScreen, FallsBackToTheStillAndSaysWhenThereIsNothing)
{
    test::TempLibrary stills;
    Project withFrames = project(6, 6, &stills);
    withFrames.chunks[0].frame->motionClipPath = stills.path(QStringLiteral("deleted.mov"));
    UiHarness ui(withFrames, PipelineStage::preview);
    ui.store.session().setSelectedChunkID(withFrames.chunks[2].id);
    ui.settle();
    EXPECT_TRUE(ui.shown("previewStill"));
    EXPECT_FALSE(ui.shown("previewVideo"));
    EXPECT_EQ(ui.text("currentTime"), QStringLiteral("0:08.50"));
    EXPECT_EQ(ui.text("projectDuration"), QStringLiteral("0:25"));
    ui.screenshot("preview-still");

    // A clip that has not played yet: its still stands in, so the area is never blank.
    const QString clip = stills.path(QStringLiteral("clip.mov"));
    test::writeFile(clip, "not played");
    ui.store.editProject([&](Project &p) { p.chunks[2].frame->motionClipPath = clip; });
    ui.settle();
    EXPECT_TRUE(ui.shown("previewStill"));
    EXPECT_FALSE(ui.shown("previewVideo"));

    UiHarness empty(Project{}, PipelineStage::preview);
    EXPECT_TRUE(empty.shown("noFramesText"));
}

TEST(SettingsWindow, WritesTheServiceURLWhenEditingEnds)
{
    UiHarness ui{Project{}};
    QWindow *settings = nullptr;
    for (QWindow *window : QGuiApplication::allWindows())
        settings = window->objectName() == QStringLiteral("settingsWindow") ? window : settings;
    ASSERT_TRUE(settings);
    settings->show();
    ui.settle();
    auto *service = settings->findChild<QQuickItem *>(QStringLiteral("serviceField"));
    ASSERT_TRUE(service);
    service->setProperty("text", QStringLiteral("https://studio.example.org/api/fal/"));
    QMetaObject::invokeMethod(service, "editingFinished");
    ui.settle();
    EXPECT_EQ(ui.store.settings().proxyBaseURL(), QStringLiteral("https://studio.example.org/api/fal"));
    EXPECT_EQ(service->property("text").toString(), QStringLiteral("https://studio.example.org/api/fal"));
}

} // namespace
} // namespace quillvane
