// How the app feels with a long song: a project of 500 chunks, each with a frame and five
// earlier versions, shown in the real main window rendered offscreen (software renderer).
// Prints, in milliseconds: opening the storyboard and the frame review (until the first
// picture is drawn), scrolling the review grid (per drawn frame), and typing into the title
// field (per key, until the window has drawn the change).
// Run: build/bench/ui_load_bench

#include "LongSong.h"
#include "model/PipelineStage.h"
#include "support/TestHome.h"
#include "ui/Fonts.h"
#include "ui/UiHarness.h"

#include <QElapsedTimer>
#include <QGuiApplication>
#include <QImage>
#include <QQuickStyle>
#include <QTemporaryDir>
#include <QTest>
#include <QtQml/QQmlExtensionPlugin>

#include <algorithm>
#include <cstdio>
#include <vector>

Q_IMPORT_QML_PLUGIN(QuillvanePlugin)

using namespace quillvane;

namespace {

constexpr int chunkCount = 500;

Project longSongWithFrames(const QString &framesFolder)
{
    // One painted 1920x1080 still, shared by every frame, so thumbnails really decode.
    QImage still(1920, 1080, QImage::Format_RGB32);
    for (int y = 0; y < still.height(); ++y)
        for (int x = 0; x < still.width(); ++x)
            still.setPixel(x, y, qRgb(x * 255 / 1920, y * 255 / 1080, (x ^ y) & 0xff));
    const QString stillPath = framesFolder + QStringLiteral("/still.png");
    still.save(stillPath);

    return longSong(chunkCount, [&](StoryboardChunk &chunk) {
        const QString framePath = framesFolder + QStringLiteral("/%1.png").arg(chunk.index);
        QFile::copy(stillPath, framePath);
        for (int v = 0; v <= 5; ++v) {
            GeneratedFrame frame;
            frame.localPath = framePath;
            frame.prompt = chunk.imagePrompt;
            frame.review = {true, true, v % 2 == 0, true, chunk.index % 3 == 0};
            if (v < 5)
                chunk.undoStack.append(frame);
            else
                chunk.frame = frame;
        }
    });
}

double millisecondsOf(const std::function<void()> &step)
{
    QElapsedTimer timer;
    timer.start();
    step();
    return double(timer.nsecsElapsed()) / 1e6;
}

// Processes what is pending, then draws the window: the time a user waits to see a change.
void drawn(test::UiHarness &ui)
{
    QCoreApplication::processEvents();
    ui.window()->grabWindow();
}

QQuickItem *longestFlickable(QQuickItem *root)
{
    QQuickItem *best = nullptr;
    QList<QQuickItem *> pending{root};
    while (!pending.isEmpty()) {
        QQuickItem *item = pending.takeFirst();
        if (item->inherits("QQuickFlickable")
            && (!best || item->property("contentHeight").toDouble() > best->property("contentHeight").toDouble()))
            best = item;
        pending += item->childItems();
    }
    return best;
}

void report(const char *what, std::vector<double> times)
{
    std::sort(times.begin(), times.end());
    double sum = 0;
    for (double t : times)
        sum += t;
    std::printf("  %-40s median %7.1f  mean %7.1f  max %7.1f ms  (%zu samples)\n", what, times[times.size() / 2],
                sum / double(times.size()), times.back(), times.size());
}

} // namespace

int main(int argc, char **argv)
{
    const std::string home = test::enterTestHome();
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QQuickWindow::setGraphicsApi(QSGRendererInterface::Software);
    QGuiApplication app(argc, argv);
    QQuickStyle::setStyle(QStringLiteral("Basic"));
    ui::registerFonts();

    QTemporaryDir frames;
    const Project project = longSongWithFrames(frames.path());
    std::printf("%d chunks, each with a frame and five earlier versions\n", chunkCount);
    test::UiHarness ui(project);
    ui.window()->resize(1440, 900);
    ui.settle();

    const double storyboard = millisecondsOf([&] {
        ui.store.session().setSelectedStage(PipelineStage::storyboard);
        drawn(ui);
    });
    ui.settle();
    const double review = millisecondsOf([&] {
        ui.store.session().setSelectedStage(PipelineStage::frames);
        drawn(ui);
    });
    std::printf("  %-40s %7.1f ms\n", "open the storyboard (500 chunk cards)", storyboard);
    std::printf("  %-40s %7.1f ms\n", "open the frame review (500 frame cards)", review);

    // Let the thumbnails load, then scroll the grid a screen at a time.
    test::processEventsFor(std::chrono::seconds(3));
    QQuickItem *grid = longestFlickable(ui.window()->contentItem());
    std::vector<double> scrolling;
    if (grid) {
        const double height = grid->property("contentHeight").toDouble();
        for (double y = 0; y < height && scrolling.size() < 60; y += 420) {
            scrolling.push_back(millisecondsOf([&] {
                grid->setProperty("contentY", y);
                drawn(ui);
            }));
        }
        report("scroll the frame review, per frame", scrolling);
    }

    ui.store.session().setSelectedStage(PipelineStage::intake);
    ui.settle();
    auto *title = ui.find(QStringLiteral("titleField"));
    ui.window()->requestActivate();
    title->forceActiveFocus();
    title->setProperty("cursorPosition", 4);
    std::vector<double> typing;
    for (int i = 0; i < 40; ++i)
        typing.push_back(millisecondsOf([&] {
            QTest::keyClick(ui.window(), char('a' + i % 26));
            drawn(ui);
        }));
    report("type into the title, per key", typing);
    std::printf("  title is now %lld characters; the save waits for the typing to stop\n",
                static_cast<long long>(ui.store.project().title.size()));
    test::leaveTestHome(home);
    return 0;
}
