// The exporter against the ffmpeg program's concat demuxer with a libx264 re-encode (the
// same encoder settings as the clips), side by side on the same input: ten default motion
// clips (4 s each) and 40 s of stereo MP3 audio, to 1080p MP4 (where the clips already have
// the output's size and are copied) and to 720p (where both re-encode). Each run is a child
// process; the median of three.
// Run: build/bench/export_bench

#include "ChildProcess.h"
#include "media/FfmpegMotionRenderer.h"
#include "media/FfmpegVideoExporter.h"
#include "media/VideoEncoding.h"

#include <QCoreApplication>
#include <QFile>
#include <QImage>
#include <QProcess>
#include <QTemporaryDir>

extern "C" {
#include <libavutil/log.h>
}

#include <cmath>
#include <cstdio>

using namespace quillvane;
using namespace quillvane::bench;

namespace {

// A painted-looking still: soft colour fields crossed by fine waves.
void writeStill(const QString &path, double phase)
{
    QImage image(1920, 1080, QImage::Format_RGB32);
    for (int y = 0; y < image.height(); ++y) {
        auto *row = reinterpret_cast<QRgb *>(image.scanLine(y));
        for (int x = 0; x < image.width(); ++x) {
            const double wave = std::sin(x / 7.0 + phase) * std::cos(y / 11.0 - phase);
            row[x] = qRgb(int(110 + 60 * std::sin(x / 300.0 + phase) + 30 * wave),
                          int(100 + 50 * std::cos(y / 200.0) + 25 * wave), int(120 + 40 * std::sin((x + y) / 400.0)));
        }
    }
    image.save(path);
}

bool run(const QStringList &arguments)
{
    QProcess process;
    process.start(arguments.first(), arguments.mid(1));
    return process.waitForFinished(600000) && process.exitCode() == 0;
}

QStringList ffmpegCommand(const QString &list, const QString &audio, const QString &output, bool scaled)
{
    QStringList command{QStringLiteral("ffmpeg"), QStringLiteral("-v"), QStringLiteral("error"), QStringLiteral("-y"),
                        QStringLiteral("-f"), QStringLiteral("concat"), QStringLiteral("-safe"), QStringLiteral("0"),
                        QStringLiteral("-i"), list, QStringLiteral("-i"), audio, QStringLiteral("-map"),
                        QStringLiteral("0:v"), QStringLiteral("-map"), QStringLiteral("1:a")};
    if (scaled)
        command << QStringLiteral("-vf") << QStringLiteral("scale=1280:720");
    command << QStringLiteral("-c:v") << QString::fromLatin1(encoding::encoderName) << QStringLiteral("-preset")
            << QString::fromLatin1(encoding::preset) << QStringLiteral("-crf")
            << QString::fromLatin1(encoding::constantRateFactor) << QStringLiteral("-pix_fmt") << QStringLiteral("yuv420p")
            << QStringLiteral("-c:a") << QStringLiteral("aac") << QStringLiteral("-b:a") << QStringLiteral("192k")
            << QStringLiteral("-shortest") << QStringLiteral("-movflags") << QStringLiteral("+faststart") << output;
    return command;
}

void compare(const char *name, const QString &resolution, const QStringList &clips, const QString &list,
             const QString &audio, const QTemporaryDir &dir)
{
    const QString self = QCoreApplication::applicationFilePath();
    std::vector<double> ours, theirs;
    for (int round = 0; round < 3; ++round) {
        const ChildRun a = runChild(QStringList{self, QStringLiteral("--export"), resolution,
                                                dir.filePath(QStringLiteral("ours.mp4")), audio}
                                    + clips);
        const ChildRun b = runChild(
            ffmpegCommand(list, audio, dir.filePath(QStringLiteral("ffmpeg.mp4")), resolution == QStringLiteral("720p")));
        if (!a.ok || !b.ok) {
            std::printf("a run failed (ours %d, ffmpeg %d)\n", a.ok, b.ok);
            return;
        }
        ours.push_back(a.seconds);
        theirs.push_back(b.seconds);
    }
    std::printf("%-6s ours %6.2f s | ffmpeg concat + re-encode %6.2f s | ratio %.3f\n", name, median(ours),
                median(theirs), median(ours) / median(theirs));
}

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    av_log_set_level(AV_LOG_QUIET);
    if (argc >= 6 && QByteArray(argv[1]) == "--export") {
        ExportSettings settings;
        settings.resolution = *exportResolutionFromText(QString::fromLocal8Bit(argv[2]));
        QStringList clips;
        for (int i = 5; i < argc; ++i)
            clips << QString::fromLocal8Bit(argv[i]);
        FfmpegVideoExporter().exportNow(clips, QString::fromLocal8Bit(argv[4]), settings,
                                        QString::fromLocal8Bit(argv[3]), {}, {});
        return 0;
    }

    QTemporaryDir dir;
    std::printf("Making 10 default clips and 40 s of audio...\n");
    QStringList distinct;
    for (int i = 0; i < 2; ++i) {
        const QString still = dir.filePath(QStringLiteral("still%1.png").arg(i));
        writeStill(still, i * 1.3);
        distinct << dir.filePath(QStringLiteral("distinct%1.mov").arg(i));
        FfmpegMotionRenderer().renderNow(still, DepthFlowSettings{}, distinct.last(), {}, {});
    }
    QStringList clips;
    QString list;
    for (int i = 0; i < 10; ++i) {
        clips << dir.filePath(QStringLiteral("clip%1.mov").arg(i));
        QFile::copy(distinct[i % 2], clips.last());
        list += QStringLiteral("file '%1'\n").arg(clips.last());
    }
    const QString listFile = dir.filePath(QStringLiteral("clips.txt"));
    QFile file(listFile);
    file.open(QIODevice::WriteOnly);
    file.write(list.toUtf8());
    file.close();
    const QString audio = dir.filePath(QStringLiteral("song.mp3"));
    if (!run({QStringLiteral("ffmpeg"), QStringLiteral("-v"), QStringLiteral("error"), QStringLiteral("-y"),
              QStringLiteral("-f"), QStringLiteral("lavfi"), QStringLiteral("-i"),
              QStringLiteral("sine=frequency=220:duration=40"), QStringLiteral("-f"), QStringLiteral("lavfi"),
              QStringLiteral("-i"), QStringLiteral("anoisesrc=color=pink:amplitude=0.2:duration=40"),
              QStringLiteral("-filter_complex"), QStringLiteral("amix=inputs=2"), QStringLiteral("-ac"),
              QStringLiteral("2"), QStringLiteral("-ar"), QStringLiteral("44100"), QStringLiteral("-b:a"),
              QStringLiteral("192k"), audio})) {
        std::printf("could not make the audio\n");
        return 1;
    }
    std::printf("Export of 10 clips (40 s of 1920x1080) over 40 s of audio, median of 3 runs:\n");
    compare("1080p", QStringLiteral("1080p"), clips, listFile, audio, dir);
    compare("720p", QStringLiteral("720p"), clips, listFile, audio, dir);
    return 0;
}
