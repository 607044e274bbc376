// What the lettering layer adds to motion rendering: one default clip (4 s at 30 fps) of a
// detailed still, rendered with no lyrics and with three lines sung over it (two on screen
// while one gives way to the next, a word lit every third of a second), for each shape of
// video at 1080p; median of three renders each, in wall time and in processor time (all
// threads: what the layer costs on a busy machine too). The budget is 15 % more time. On a
// shared machine those ratios wander by more than the layer costs, so the layer's own work
// (its sprites, then blending 120 frames) is also timed alone on one thread and set against
// the plain render's processor time.
// Run: build/bench/lettering_bench [folder to keep the lettered clips in]

#include "media/FfmpegMotionRenderer.h"
#include "media/LetteringOverlay.h"

#include <QElapsedTimer>
#include <QGuiApplication>
#include <QImage>
#include <QTemporaryDir>

extern "C" {
#include <libavutil/frame.h>
#include <libavutil/log.h>
}

#include <time.h>

#include <sys/resource.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <vector>

using namespace quillvane;

namespace {

void writeStill(const QString &path)
{
    QImage image(1920, 1080, QImage::Format_RGB32);
    for (int y = 0; y < image.height(); ++y) {
        auto *row = reinterpret_cast<QRgb *>(image.scanLine(y));
        for (int x = 0; x < image.width(); ++x)
            row[x] = qRgb(int(127 + 100 * std::sin(x / 37.0 + std::sin(y / 91.0))), 60 + y * 150 / 1080,
                          int(127 + 120 * std::sin(std::hypot(x - 960, y - 540) / 17.0)));
    }
    image.save(path);
}

TranscriptSegment sung(const QString &text, double start, double end)
{
    TranscriptSegment line;
    line.text = text;
    line.start = start;
    line.end = end;
    const QStringList words = text.split(QLatin1Char(' '));
    for (qsizetype i = 0; i < words.size(); ++i)
        line.words.append({words[i], start + i / 3.0, start + (i + 1) / 3.0});
    return line;
}

double processorSeconds()
{
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return double(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) + double(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) / 1e6;
}

double threadSeconds()
{
    timespec now{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return double(now.tv_sec) + double(now.tv_nsec) / 1e9;
}

// Processor seconds of the layer alone over one clip: drawing its sprites, then blending
// every frame.
std::pair<double, double> layerSeconds(const MotionClip &clip, QSize size)
{
    const QImage still(clip.imagePath);
    AVFrame *frame = av_frame_alloc();
    frame->format = AV_PIX_FMT_YUV420P;
    frame->width = size.width();
    frame->height = size.height();
    av_frame_get_buffer(frame, 0);
    std::vector<double> sprites, blending;
    for (int round = 0; round < 3; ++round) {
        const double start = threadSeconds();
        const LetteringOverlay overlay(clip, still, size.width(), size.height(), 30, 120);
        const double drawn = threadSeconds();
        for (qint64 k = 0; k < 120; ++k)
            overlay.draw(k, frame);
        sprites.push_back(drawn - start);
        blending.push_back(threadSeconds() - drawn);
    }
    av_frame_free(&frame);
    std::sort(sprites.begin(), sprites.end());
    std::sort(blending.begin(), blending.end());
    return {sprites[1], blending[1]};
}

struct Times {
    double wall = 0;
    double processor = 0;
};

Times medianSeconds(const FfmpegMotionRenderer &renderer, const MotionClip &clip, const QString &output)
{
    std::vector<double> wall, processor;
    for (int round = 0; round < 3; ++round) {
        QElapsedTimer timer;
        timer.start();
        const double before = processorSeconds();
        renderer.renderNow(clip, output, {}, {});
        processor.push_back(processorSeconds() - before);
        wall.push_back(double(timer.nsecsElapsed()) / 1e9);
    }
    std::sort(wall.begin(), wall.end());
    std::sort(processor.begin(), processor.end());
    return {wall[1], processor[1]};
}

} // namespace

int main(int argc, char **argv)
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication app(argc, argv);
    av_log_set_level(AV_LOG_QUIET);
    QTemporaryDir dir;
    const QString keep = argc > 1 ? QString::fromLocal8Bit(argv[1]) : dir.path();
    MotionClip plain;
    plain.imagePath = dir.filePath(QStringLiteral("still.png"));
    writeStill(plain.imagePath);
    MotionClip lettered = plain;
    lettered.songStart = 10;
    lettered.lyrics = {sung(QStringLiteral("We were dancing in the headlights"), 9.5, 11.8),
                       sung(QStringLiteral("with the radio up"), 11.6, 12.9),
                       sung(QStringLiteral("and nowhere to be"), 12.9, 14.5)};

    std::printf("One default clip (120 frames), median of 3 renders:\n");
    for (const VideoShape shape : allVideoShapes()) {
        const QSize size = frameSize(shape, ExportResolution::p1080);
        const FfmpegMotionRenderer renderer(size.width(), size.height());
        const QString name = textValue(shape).replace(QLatin1Char(':'), QLatin1Char('x'));
        const Times without = medianSeconds(renderer, plain, dir.filePath(QStringLiteral("plain.mov")));
        const Times with = medianSeconds(renderer, lettered, keep + QStringLiteral("/lettered-%1.mov").arg(name));
        std::printf("  %-5s %4dx%-4d  wall %.2f s -> %.2f s (ratio %.3f), processor %.2f s -> %.2f s (ratio %.3f)\n",
                    qPrintable(textValue(shape)), size.width(), size.height(), without.wall, with.wall,
                    with.wall / without.wall, without.processor, with.processor, with.processor / without.processor);
        const auto [sprites, blending] = layerSeconds(lettered, size);
        std::printf("        the layer alone: sprites %.3f s + blending %.3f s = %.1f %% of the plain render's processor time\n",
                    sprites, blending, 100 * (sprites + blending) / without.processor);
    }
    return 0;
}
