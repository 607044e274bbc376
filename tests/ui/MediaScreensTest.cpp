#include "UiHarness.h"

#include <QGuiApplication>
#include <QImage>

#include <gtest/gtest.h>

namespace quillvane {
namespace {

using test::UiHarness;

using test::withChunks;

TEST(OutputScreens, MotionTimingExportLockAndTheWrittenVideosPath)
{
    UiHarness ui(withChunks(10, 3), PipelineStage::motion);
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

    // Another shape paints every frame again, so it asks first; Cancel changes nothing.
    const Project framed = ui.store.project();
    const auto chooseTall = [&] {
        QMetaObject::invokeMethod(ui.find("shapePicker"), "activated", Q_ARG(int, 1));
        ui.settle();
        return ui.text("confirmMessage");
    };
    EXPECT_EQ(chooseTall(), QStringLiteral("Changing the shape repaints 10 frames. Change?"));
    ui.screenshot("shape-confirm");
    ui.click("confirmCancel");
    EXPECT_EQ(ui.store.project(), framed);
    EXPECT_EQ(ui.find("shapePicker")->property("currentIndex").toInt(), 0);
    chooseTall();
    ui.click("confirmButton");
    EXPECT_EQ(std::pair(ui.store.project().exportSettings.shape, ui.store.project().framedCount()),
              std::pair(VideoShape::portrait, 0));
    EXPECT_EQ(ui.text("summary-Output"), QStringLiteral("1080p · 9:16 · MP4 (H.264)"));
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

// The clip under the playhead, from the one schedule the renderer and exporter lay out.
TEST(PreviewScreen, FindsTheClipOnScreenAtEveryMomentOfTheVideo)
{
    Project timed = withChunks(3, 3);
    timed.audioDuration = 14;
    timed.motion.durationSeconds = 2.0;
    timed.chunks[1].start = 4;
    timed.chunks[2].start = 9.25;
    QStringList ids;
    for (const StoryboardChunk &chunk : timed.chunks)
        ids << uuidText(chunk.id);
    UiHarness ui(timed);
    const ui::ExportBridge &media = ui.bridges.exporting;
    for (const auto &[seconds, clip] : {std::pair{0.0, 0}, {3.99, 0}, {4.0, 1}, {9.2, 1}, {9.3, 2}, {99.0, 2}})
        EXPECT_EQ(media.chunkAt(seconds), ids[clip]) << seconds;
    EXPECT_EQ(media.clipStart(ids[1]), 4);
    EXPECT_NEAR(media.clipStart(ids[2]), 9.25, 1.0 / 30);

    ui.store.editProject([](Project &p) { p.motion.clipTiming = ClipTiming::fixedLength; });
    EXPECT_EQ(media.chunkAt(2.5), ids[1]);
    EXPECT_EQ(media.clipStart(ids[2]), 4);
}

TEST(PreviewScreen, FallsBackToTheStillAndSaysWhenThereIsNothing)
{
    test::TempLibrary stills;
    Project withFrames = withChunks(6, 6);
    for (StoryboardChunk &chunk : withFrames.chunks) {
        QImage image(640, 360, QImage::Format_RGB32);
        image.fill(QColor(30 + 20 * chunk.index, 70, 90));
        chunk.frame->localPath = stills.path(QStringLiteral("still-%1.png").arg(chunk.index));
        image.save(chunk.frame->localPath);
    }
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
