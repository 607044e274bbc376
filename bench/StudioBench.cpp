// The offline studio's speed: painting one 1920x1080 frame from a prompt, and planning a
// 60-line song. Median of 15 runs each.
// Run: build/bench/studio_bench

#include "studio/StudioPainter.h"
#include "studio/StudioPlanner.h"

#include <QElapsedTimer>
#include <QGuiApplication>
#include <QJsonArray>

#include <algorithm>
#include <cstdio>
#include <functional>
#include <vector>

using namespace quillvane;

namespace {

double medianMilliseconds(const std::function<void()> &work)
{
    std::vector<double> times;
    for (int i = 0; i < 15; ++i) {
        QElapsedTimer timer;
        timer.start();
        work();
        times.push_back(timer.nsecsElapsed() / 1e6);
    }
    std::sort(times.begin(), times.end());
    return times[times.size() / 2];
}

} // namespace

int main(int argc, char **argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication app(argc, argv);
    const studio::FrameSpec scene = studio::frameSpecFromPrompt(QStringLiteral(
        "Vivid, analog, expressive. The exact text \"We are letters in the snow\" is physically present on a hand-painted "
        "shop sign, spelled correctly and clearly legible. Night street in the snow. Palette: #0B1026, #FF2E88, #20E3F2, "
        "#F8F4E3."));
    studio::paintFrame(scene); // registers the lettering face
    const double paint = medianMilliseconds([&] { studio::paintFrame(scene); });

    QStringList lines;
    for (int i = 0; i < 60; ++i)
        lines.append(QString::asprintf("[%.1f-%.1f] ", i * 3.2, (i + 1) * 3.2)
                     + QStringLiteral("City lights and snow on the road, line %1").arg(i + 1));
    const QJsonObject input{{QStringLiteral("artist"), QStringLiteral("Mara Vale")},
                            {QStringLiteral("duration_seconds"), 192},
                            {QStringLiteral("transcript"), lines.join(QLatin1Char('\n'))},
                            {QStringLiteral("style_guidance"), QStringLiteral("80s neon, moody")},
                            {QStringLiteral("image_urls"), QJsonArray{}}};
    const double plan = medianMilliseconds([&] { studio::planResult(input); });

    std::printf("Paint one 1920x1080 frame: %.1f ms (target under 300 ms)\n", paint);
    std::printf("Plan a 60-line song:       %.2f ms (target under 50 ms)\n", plan);
    return 0;
}
