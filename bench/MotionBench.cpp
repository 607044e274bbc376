// The motion renderer against the ffmpeg program doing the same push-in with its zoompan
// filter, side by side on the same still, with the same encoder settings:
//  1. wall time and peak memory of one default clip (4 s at 30 fps, intensity 0.5, zoom 0.15)
//     from a 1920x1080 still, each run as a child process, median of three;
//  2. geometric accuracy: PSNR of the luma of decoded frames 0, N/2 and N-1 against a
//     double-precision reference of the motion, supersampled 4x4 per pixel, drawn from the
//     same analytic picture the still was made of.
// Run: build/bench/motion_bench

#include "ChildProcess.h"
#include "media/FfmpegMotionRenderer.h"
#include "media/MotionGeometry.h"
#include "media/StillImage.h"
#include "media/VideoEncoding.h"

#include <QCoreApplication>
#include <QFile>
#include <QImage>
#include <QTemporaryDir>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
}

#include <cmath>
#include <cstdio>
#include <functional>

using namespace quillvane;
using namespace quillvane::bench;

namespace {

constexpr int width = 1920;
constexpr int height = 1080;
constexpr int frameCount = 120;

struct Rgb {
    double r, g, b;
};

// A detailed picture defined at every real point: waves from 9 to 91 pixels long in several
// directions and rings around the centre, the kind of detail a sub-pixel error shows in.
Rgb picture(double u, double v)
{
    constexpr double tau = 6.283185307179586;
    const double ring = std::hypot(u - 960, v - 540);
    return {std::clamp(0.5 + 0.25 * std::sin(tau * u / 37 + 0.5 * std::sin(tau * v / 91)) + 0.2 * std::sin(tau * (u + v) / 13), 0.0, 1.0),
            std::clamp(0.5 + 0.3 * std::sin(tau * v / 23) * std::cos(tau * u / 71) + 0.15 * std::sin(tau * (u - 2 * v) / 9), 0.0, 1.0),
            std::clamp(0.5 + 0.35 * std::sin(tau * ring / 17), 0.0, 1.0)};
}

double lumaOf(const Rgb &c)
{
    return yuvFromRgb(c.r, c.g, c.b).y;
}

// The still: each pixel the mean of the picture over its area (4x4 samples).
void writeStill(const QString &path)
{
    QImage image(width, height, QImage::Format_RGB32);
    for (int y = 0; y < height; ++y) {
        auto *row = reinterpret_cast<QRgb *>(image.scanLine(y));
        for (int x = 0; x < width; ++x) {
            Rgb sum{0, 0, 0};
            for (int j = 0; j < 4; ++j)
                for (int i = 0; i < 4; ++i) {
                    const Rgb c = picture(x + (i + 0.5) / 4, y + (j + 0.5) / 4);
                    sum = {sum.r + c.r, sum.g + c.g, sum.b + c.b};
                }
            row[x] = qRgb(int(std::lround(sum.r / 16 * 255)), int(std::lround(sum.g / 16 * 255)),
                          int(std::lround(sum.b / 16 * 255)));
        }
    }
    image.save(path);
}

// Frame k as the motion defines it, in luma, averaged over 4x4 samples per pixel.
std::vector<double> referenceLuma(int k)
{
    const StillPlacement place = placeStill(k, frameCount, width, height, width, height, DepthFlowSettings{});
    const double top = place.top(height);
    const double fill = yuvFromRgb(0.01, 0.06, 0.06).y;
    std::vector<double> luma(size_t(width) * height);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) {
            double sum = 0;
            for (int j = 0; j < 4; ++j)
                for (int i = 0; i < 4; ++i) {
                    const double u = (x + (i + 0.5) / 4 - place.x0) / place.width * width;
                    const double v = (y + (j + 0.5) / 4 - top) / place.height * height;
                    sum += (u < 0 || v < 0 || u >= width || v >= height) ? fill : lumaOf(picture(u, v));
                }
            luma[size_t(y) * width + x] = sum / 16;
        }
    return luma;
}

// Decoded luma of the frames with the given indices.
std::vector<std::vector<uint8_t>> decodedLuma(const QString &path, const std::vector<int> &wanted)
{
    std::vector<std::vector<uint8_t>> frames;
    AVFormatContext *input = nullptr;
    if (avformat_open_input(&input, QFile::encodeName(path).constData(), nullptr, nullptr) < 0)
        return frames;
    avformat_find_stream_info(input, nullptr);
    const int index = av_find_best_stream(input, AVMEDIA_TYPE_VIDEO, -1, -1, nullptr, 0);
    const AVCodec *codec = avcodec_find_decoder(input->streams[index]->codecpar->codec_id);
    AVCodecContext *decoder = avcodec_alloc_context3(codec);
    avcodec_parameters_to_context(decoder, input->streams[index]->codecpar);
    avcodec_open2(decoder, codec, nullptr);
    AVPacket *packet = av_packet_alloc();
    AVFrame *frame = av_frame_alloc();
    int number = 0;
    const auto drain = [&] {
        while (avcodec_receive_frame(decoder, frame) == 0) {
            if (std::find(wanted.begin(), wanted.end(), number++) != wanted.end()) {
                std::vector<uint8_t> luma(size_t(width) * height);
                for (int y = 0; y < height; ++y)
                    std::copy_n(frame->data[0] + ptrdiff_t(y) * frame->linesize[0], width, luma.data() + size_t(y) * width);
                frames.push_back(std::move(luma));
            }
        }
    };
    while (av_read_frame(input, packet) >= 0) {
        if (packet->stream_index == index)
            avcodec_send_packet(decoder, packet);
        av_packet_unref(packet);
        drain();
    }
    avcodec_send_packet(decoder, nullptr);
    drain();
    av_frame_free(&frame);
    av_packet_free(&packet);
    avcodec_free_context(&decoder);
    avformat_close_input(&input);
    return frames;
}

double psnr(const std::vector<uint8_t> &decoded, const std::vector<double> &reference)
{
    double squared = 0;
    for (size_t i = 0; i < reference.size(); ++i) {
        const double difference = decoded[i] - reference[i];
        squared += difference * difference;
    }
    return 10 * std::log10(255.0 * 255.0 / (squared / double(reference.size())));
}

QStringList zoompanCommand(const QString &still, const QString &output)
{
    // The same motion in zoompan's terms: zoom is the scale; x and y are the top-left corner
    // of the visible part of the still, in still pixels.
    const QString filter = QStringLiteral(
        "zoompan=z='(1+0.15*on/120)*1.09':x='iw*(1-1/zoom)*(0.5-0.175*on/120)':y='ih*(1-1/zoom)*(0.5+0.1*on/120)'"
        ":d=1:s=1920x1080:fps=30,scale=out_color_matrix=bt709:out_range=tv,format=yuv420p");
    return {QStringLiteral("ffmpeg"), QStringLiteral("-v"), QStringLiteral("error"), QStringLiteral("-y"),
            QStringLiteral("-framerate"), QStringLiteral("30"), QStringLiteral("-loop"), QStringLiteral("1"),
            QStringLiteral("-i"), still, QStringLiteral("-vf"), filter, QStringLiteral("-frames:v"),
            QStringLiteral("120"), QStringLiteral("-c:v"), QString::fromLatin1(encoding::encoderName),
            QStringLiteral("-preset"), QString::fromLatin1(encoding::preset), QStringLiteral("-crf"),
            QString::fromLatin1(encoding::constantRateFactor), QStringLiteral("-colorspace"), QStringLiteral("bt709"),
            QStringLiteral("-color_primaries"), QStringLiteral("bt709"), QStringLiteral("-color_trc"),
            QStringLiteral("bt709"), output};
}

// A plain still: a soft diagonal gradient, cheap to decode.
void writePlainStill(const QString &path)
{
    QImage image(width, height, QImage::Format_RGB32);
    for (int y = 0; y < height; ++y) {
        auto *row = reinterpret_cast<QRgb *>(image.scanLine(y));
        for (int x = 0; x < width; ++x)
            row[x] = qRgb(40 + x * 150 / width, 60 + y * 120 / height, 120);
    }
    image.save(path);
}

void compareSpeed(const char *name, const QString &still, const QTemporaryDir &dir, const QString &self)
{
    std::vector<double> ours, theirs;
    long oursPeak = 0, theirsPeak = 0;
    for (int round = 0; round < 3; ++round) {
        const ChildRun a = runChild({self, QStringLiteral("--render"), still, dir.filePath(QStringLiteral("ours.mov"))});
        const ChildRun b = runChild(zoompanCommand(still, dir.filePath(QStringLiteral("zoompan.mov"))));
        if (!a.ok || !b.ok) {
            std::printf("a run failed (ours %d, ffmpeg %d)\n", a.ok, b.ok);
            return;
        }
        ours.push_back(a.seconds);
        theirs.push_back(b.seconds);
        oursPeak = std::max(oursPeak, a.peakKilobytes);
        theirsPeak = std::max(theirsPeak, b.peakKilobytes);
    }
    std::printf("%-9s still (%5.1f MB PNG): ours %.2f s, %ld MB peak | ffmpeg zoompan %.2f s, %ld MB peak | "
                "time ratio %.2f, memory ratio %.2f\n",
                name, QFile(still).size() / 1e6, median(ours), oursPeak / 1024, median(theirs), theirsPeak / 1024,
                median(ours) / median(theirs), double(oursPeak) / double(theirsPeak));
}

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    av_log_set_level(AV_LOG_QUIET);
    if (argc == 4 && QByteArray(argv[1]) == "--render") {
        FfmpegMotionRenderer().renderNow(QString::fromLocal8Bit(argv[2]), DepthFlowSettings{},
                                         QString::fromLocal8Bit(argv[3]), {}, {});
        return 0;
    }
    QTemporaryDir dir;
    const QString detailed = dir.filePath(QStringLiteral("detailed.png"));
    const QString plain = dir.filePath(QStringLiteral("plain.png"));
    writeStill(detailed);
    writePlainStill(plain);
    const QString self = QCoreApplication::applicationFilePath();
    std::printf("One default clip (120 frames of 1920x1080, %s, preset %s, crf %s), median of 3 runs:\n",
                encoding::encoderName, encoding::preset, encoding::constantRateFactor);
    compareSpeed("detailed", detailed, dir, self);
    compareSpeed("plain", plain, dir, self);

    // Accuracy, on the detailed still's clips from the last detailed round.
    runChild({self, QStringLiteral("--render"), detailed, dir.filePath(QStringLiteral("ours.mov"))});
    runChild(zoompanCommand(detailed, dir.filePath(QStringLiteral("zoompan.mov"))));
    const std::vector<int> frames{0, frameCount / 2, frameCount - 1};
    const auto ours = decodedLuma(dir.filePath(QStringLiteral("ours.mov")), frames);
    const auto theirs = decodedLuma(dir.filePath(QStringLiteral("zoompan.mov")), frames);
    if (ours.size() != 3 || theirs.size() != 3) {
        std::printf("could not decode the clips\n");
        return 1;
    }
    std::printf("Luma PSNR against the supersampled reference:\n");
    for (size_t i = 0; i < frames.size(); ++i) {
        const std::vector<double> reference = referenceLuma(frames[i]);
        const double a = psnr(ours[i], reference);
        const double b = psnr(theirs[i], reference);
        std::printf("  frame %3d: ours %.2f dB, zoompan %.2f dB, difference %+.2f dB\n", frames[i], a, b, a - b);
    }
    return 0;
}
