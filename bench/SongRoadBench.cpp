// The whole road of one real song, offline, by stage: `quillvane-cli --offline run SONG
// --accept-all` from a fresh HOME, timed by the stage labels on standard error, with the
// child's peak memory; then one frame's still replaced and the video exported again. Beside
// the motion stage, the encode-only floor: libx264 with the renderer's settings encoding as
// many 1920x1080 frames of the song's first still as the video has, drawn beforehand.
// Run: build/bench/song_road_bench SONG.mp3 [LYRICS.txt]   (lyrics are embedded into a copy)

#include "av/AudioClip.h"
#include "media/VideoEncoding.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QGuiApplication>
#include <QImage>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QTemporaryDir>

#include <taglib/id3v2tag.h>
#include <taglib/mpegfile.h>
#include <taglib/unsynchronizedlyricsframe.h>

extern "C" {
#include <libswscale/swscale.h>
}

#include <sys/resource.h>

#include <cmath>
#include <cstdio>
#include <vector>

using namespace quillvane;

namespace {

const struct {
    const char *prefix;
    const char *stage;
} stagesByPrefix[] = {
    {"Reading audio", "import"},      {"Verifying lyrics", "import"}, {"Importing", "import"},
    {"Aligning timing", "timing"},    {"Transcribing", "timing"},     {"Planning", "plan"},
    {"Rendering element", "elements"}, {"Generating frame", "frames"}, {"Rendering motion", "motion"},
    {"Exporting video", "export"},
};

struct Stage {
    QString label;
    double seconds = 0;
};

struct Child {
    std::vector<Stage> stages;
    double total = 0;
    bool ok = false;
    QString out;
};

// Runs the CLI once in `home`, splitting its time by the stage its progress lines belong to.
Child runCli(const QTemporaryDir &home, const QStringList &arguments)
{
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert(QStringLiteral("HOME"), home.path());
    env.insert(QStringLiteral("XDG_DATA_HOME"), home.filePath(QStringLiteral("data")));
    env.insert(QStringLiteral("XDG_CONFIG_HOME"), home.filePath(QStringLiteral("config")));
    QProcess cli;
    cli.setProcessEnvironment(env);
    QElapsedTimer clock;
    clock.start();
    cli.start(QStringLiteral(QUILLVANE_CLI_PATH), QStringList{QStringLiteral("--offline")} + arguments);
    Child run;
    QByteArray pending;
    const auto readLines = [&] {
        pending += cli.readAllStandardError();
        for (qsizetype end = 0; (end = pending.indexOf('\n')) >= 0;) {
            const QString line = QString::fromUtf8(pending.left(end)).trimmed();
            pending.remove(0, end + 1);
            QString label;
            for (const auto &known : stagesByPrefix) {
                if (line.startsWith(QLatin1String(known.prefix)))
                    label = QString::fromLatin1(known.stage);
            }
            if (label.isEmpty())
                continue;
            const double at = double(clock.nsecsElapsed()) / 1e9;
            if (run.stages.empty() || run.stages.back().label != label) {
                if (!run.stages.empty())
                    run.stages.back().seconds = at - run.stages.back().seconds;
                run.stages.push_back({label, at});
            }
        }
    };
    while (cli.state() != QProcess::NotRunning) {
        cli.waitForReadyRead(100);
        readLines();
    }
    cli.waitForFinished();
    readLines();
    run.total = double(clock.nsecsElapsed()) / 1e9;
    if (!run.stages.empty())
        run.stages.back().seconds = run.total - run.stages.back().seconds;
    run.ok = cli.exitStatus() == QProcess::NormalExit && cli.exitCode() == 0;
    run.out = QString::fromUtf8(cli.readAllStandardOutput());
    if (!run.ok)
        std::printf("%s failed: %s\n", qPrintable(arguments.join(QLatin1Char(' '))), cli.readAllStandardError().constData());
    return run;
}

// Seconds libx264 takes to encode `count` frames with the renderer's settings, cycling back
// and forth through thirty slightly different pictures of `still` made beforehand.
double encodeOnly(const QImage &still, qint64 count, int fps)
{
    std::vector<ffmpeg::Frame> frames;
    for (int k = 0; k < 30; ++k) {
        const QImage picture = still.scaled(int(1920 * (1.1 + 0.004 * k)), int(1080 * (1.1 + 0.004 * k)),
                                            Qt::KeepAspectRatioByExpanding, Qt::SmoothTransformation)
                                   .copy(k * 2, k, 1920, 1080)
                                   .convertToFormat(QImage::Format_RGB32);
        ffmpeg::Frame frame(av_frame_alloc());
        frame->format = AV_PIX_FMT_YUV420P;
        frame->width = 1920;
        frame->height = 1080;
        av_frame_get_buffer(frame.get(), 0);
        SwsContext *scaler = sws_getContext(1920, 1080, AV_PIX_FMT_BGRA, 1920, 1080, AV_PIX_FMT_YUV420P, SWS_POINT,
                                            nullptr, nullptr, nullptr);
        const uint8_t *source[1] = {picture.constBits()};
        const int stride[1] = {int(picture.bytesPerLine())};
        sws_scale(scaler, source, stride, 0, 1080, frame->data, frame->linesize);
        sws_freeContext(scaler);
        frames.push_back(std::move(frame));
    }
    ffmpeg::Codec encoder = encoding::openVideoEncoder(1920, 1080, AVRational{1, fps}, AVRational{fps, 1}, true);
    ffmpeg::Packet packet(av_packet_alloc());
    QElapsedTimer clock;
    clock.start();
    for (qint64 i = 0; i < count; ++i) {
        const qint64 phase = i % 58;
        AVFrame *frame = frames[size_t(phase < 30 ? phase : 58 - phase)].get();
        av_frame_make_writable(frame);
        frame->pts = i;
        encoding::encodeFrame(encoder.get(), frame, packet.get(), [](AVPacket *done) { av_packet_unref(done); return 0; });
    }
    encoding::encodeFrame(encoder.get(), nullptr, packet.get(), [](AVPacket *done) { av_packet_unref(done); return 0; });
    return double(clock.nsecsElapsed()) / 1e9;
}

double stageSeconds(const Child &run, const char *label)
{
    double seconds = 0;
    for (const Stage &stage : run.stages)
        seconds += stage.label == QLatin1String(label) ? stage.seconds : 0;
    return seconds;
}

} // namespace

int main(int argc, char **argv)
{
    // The floor's pictures are drawn by Qt, which needs a platform even without a display.
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication app(argc, argv);
    if (argc < 2) {
        std::printf("usage: song_road_bench SONG.mp3 [LYRICS.txt]\n");
        return 2;
    }
    QTemporaryDir home;
    const QString song = home.filePath(QStringLiteral("song.mp3"));
    QFile::copy(QString::fromLocal8Bit(argv[1]), song);
    QFile::setPermissions(song, QFile::ReadOwner | QFile::WriteOwner);
    if (argc > 2) {
        QFile lyrics(QString::fromLocal8Bit(argv[2]));
        lyrics.open(QIODevice::ReadOnly);
        TagLib::MPEG::File file(QFile::encodeName(song).constData());
        TagLib::ID3v2::Tag *tag = file.ID3v2Tag(true);
        tag->removeFrames("USLT");
        auto *frame = new TagLib::ID3v2::UnsynchronizedLyricsFrame(TagLib::String::UTF8);
        frame->setText(TagLib::String(lyrics.readAll().toStdString(), TagLib::String::UTF8));
        tag->addFrame(frame);
        file.save();
    }
    QImage face(512, 640, QImage::Format_RGB32);
    face.fill(QColor(200, 150, 120));
    face.save(home.filePath(QStringLiteral("face.png")));
    const double songSeconds = probeAudioDuration(song);

    const Child road = runCli(home, {QStringLiteral("run"), song, QStringLiteral("--character"), QStringLiteral("Ana"),
                                     QStringLiteral("--image"), home.filePath(QStringLiteral("face.png")),
                                     QStringLiteral("--accept-all"), QStringLiteral("--to"), home.filePath(QStringLiteral("out"))});
    rusage usage{};
    getrusage(RUSAGE_CHILDREN, &usage);
    if (!road.ok)
        return 1;
    std::printf("song %.1f s; the road by stage:\n", songSeconds);
    for (const Stage &stage : road.stages)
        std::printf("  %-10s %7.2f s\n", qPrintable(stage.label), stage.seconds);
    std::printf("  %-10s %7.2f s\n", "total", road.total);
    std::printf("peak memory of the run: %.0f MB\n", double(usage.ru_maxrss) / 1024);

    // The first frame of the project, for the encode-only floor.
    const QDir projects(home.filePath(QStringLiteral("data/Quillvane/projects")));
    const QString folder = projects.filePath(projects.entryList(QDir::Dirs | QDir::NoDotAndDotDot).value(0));
    QFile document(folder + QStringLiteral("/project.json"));
    document.open(QIODevice::ReadOnly);
    const QJsonObject project = QJsonDocument::fromJson(document.readAll()).object();
    const QJsonArray chunks = project.value(QStringLiteral("chunks")).toArray();
    const QString firstStill = chunks.at(0).toObject().value(QStringLiteral("frame")).toObject().value(QStringLiteral("localPath")).toString();
    const int fps = project.value(QStringLiteral("motion")).toObject().value(QStringLiteral("fps")).toInt(30);
    const qint64 frames = qint64(std::ceil(songSeconds * fps));
    const double motion = stageSeconds(road, "motion");
    const double floor = encodeOnly(QImage(firstStill), frames, fps);
    std::printf("motion %.2f s = %.2fx the song (limit 0.40x); encode-only floor for %lld frames %.2f s = %.2fx\n",
                motion, motion / songSeconds, (long long)frames, floor, floor / songSeconds);

    // One frame replaced on disk (warmer), and the video exported again: one clip is rendered.
    const double firstExport = stageSeconds(road, "export") + motion;
    const int middle = int(chunks.size() / 2);
    const QString edited = chunks.at(middle).toObject().value(QStringLiteral("frame")).toObject().value(QStringLiteral("localPath")).toString();
    QImage warmer(edited);
    warmer.setPixelColor(0, 0, QColor(255, 160, 60));
    warmer.save(edited);
    const Child again = runCli(home, {QStringLiteral("export"), QStringLiteral("--to"), home.filePath(QStringLiteral("out"))});
    std::printf("first motion and export %.2f s; re-export after replacing frame %d: %.2f s = %.0f%% (limit 10%%)\n",
                firstExport, middle + 1, again.total, 100 * again.total / firstExport);
    return again.ok ? 0 : 1;
}
