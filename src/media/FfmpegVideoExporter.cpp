#include "media/FfmpegVideoExporter.h"

#include "av/AudioClip.h"
#include "av/Encoding.h"
#include "av/InputFiles.h"
#include "av/OffThread.h"
#include "media/ClipProbe.h"
#include "media/ExportMuxer.h"
#include "media/MediaErrors.h"
#include "media/VideoEncoding.h"

#include <QFileInfo>
#include <QTemporaryDir>

extern "C" {
#include <libswscale/swscale.h>
}

#include <chrono>
#include <future>
#include <map>
#include <cstring>
#include <memory>

namespace quillvane {

namespace {

using namespace ffmpeg;

// Reports the share of the video written, at most every 200 ms.
class ProgressReporter {
public:
    // Reports seconds / totalSeconds mapped onto [base, base + span].
    ProgressReporter(const std::function<void(double)> &onProgress, double totalSeconds, double base = 0,
                     double span = 1)
        : m_onProgress(onProgress)
        , m_total(totalSeconds)
        , m_base(base)
        , m_span(span)
    {
    }

    void at(double seconds)
    {
        const auto now = std::chrono::steady_clock::now();
        if (!m_onProgress || now - m_last < std::chrono::milliseconds(200))
            return;
        m_last = now;
        m_onProgress(m_base + m_span * (m_total > 0 ? std::clamp(seconds / m_total, 0.0, 1.0) : 0.0));
    }

private:
    const std::function<void(double)> &m_onProgress;
    const double m_total;
    const double m_base;
    const double m_span;
    std::chrono::steady_clock::time_point m_last{};
};

InputFile openClip(const QString &path, int &videoIndex)
{
    InputFile input = openMediaFile(path);
    const AVStream *video = input ? bestStream(input.get(), AVMEDIA_TYPE_VIDEO) : nullptr;
    if (!video)
        throw ExportError::exportFailed(QStringLiteral("could not read the clip %1.").arg(path));
    videoIndex = video->index;
    return input;
}

// Frames of clips whose size or encoding differ from the output: decoded, scaled to fit the
// output (centred on black when the aspect differs) and encoded afresh.
class Transcoder {
public:
    Transcoder(Codec encoder, ExportMuxer &muxer)
        : m_encoder(std::move(encoder))
        , m_muxer(muxer)
        , m_decoded(av_frame_alloc())
        , m_scaled(av_frame_alloc())
        , m_packet(av_packet_alloc())
    {
        if (!m_decoded || !m_scaled || !m_packet)
            throw ExportError::sessionSetupFailed();
        m_scaled->format = AV_PIX_FMT_YUV420P;
        m_scaled->width = m_encoder->width;
        m_scaled->height = m_encoder->height;
        if (av_frame_get_buffer(m_scaled.get(), 0) < 0)
            throw ExportError::sessionSetupFailed();
    }

    ~Transcoder() { sws_freeContext(m_scaler); }

    // Decodes one clip and encodes its frames at offset (in the output's time base).
    void addClip(const ClipInfo &clip, int64_t offset, ProgressReporter &progress, const CancelToken &cancel)
    {
        int index = -1;
        const InputFile input = openClip(clip.path, index);
        const AVStream *stream = input->streams[index];
        const AVCodec *codec = avcodec_find_decoder(stream->codecpar->codec_id);
        Codec decoder(codec ? avcodec_alloc_context3(codec) : nullptr);
        if (!decoder || avcodec_parameters_to_context(decoder.get(), stream->codecpar) < 0)
            throw ExportError::exportFailed(QStringLiteral("could not decode the clip %1.").arg(clip.path));
        decoder->pkt_timebase = stream->time_base;
        decoder->thread_count = 0;
        if (avcodec_open2(decoder.get(), codec, nullptr) < 0)
            throw ExportError::exportFailed(QStringLiteral("could not decode the clip %1.").arg(clip.path));

        const Packet packet(av_packet_alloc());
        if (!packet)
            throw ExportError::sessionSetupFailed();
        const auto drain = [&] {
            while (avcodec_receive_frame(decoder.get(), m_decoded.get()) == 0) {
                encodeDecoded(stream->time_base, offset);
                progress.at(m_muxer.videoSeconds());
                av_frame_unref(m_decoded.get());
            }
        };
        while (av_read_frame(input.get(), packet.get()) >= 0) {
            cancel.throwIfCancelled();
            if (packet->stream_index == index && avcodec_send_packet(decoder.get(), packet.get()) < 0) {
                av_packet_unref(packet.get());
                throw ExportError::exportFailed(QStringLiteral("the clip %1 is damaged.").arg(clip.path));
            }
            av_packet_unref(packet.get());
            drain();
        }
        avcodec_send_packet(decoder.get(), nullptr);
        drain();
    }

    void finish() { encode(nullptr); }

private:
    void encodeDecoded(AVRational clipTimeBase, int64_t offset)
    {
        AVFrame *source = m_decoded.get();
        if (av_frame_make_writable(m_scaled.get()) < 0)
            throw ExportError::exportFailed(QStringLiteral("out of memory."));
        scaleInto(source);
        const int64_t stamp = source->best_effort_timestamp == AV_NOPTS_VALUE ? 0 : source->best_effort_timestamp;
        m_scaled->pts = offset + av_rescale_q(stamp, clipTimeBase, m_encoder->time_base);
        // The encoder hands packets back in decoding order without their lengths; each gets
        // the length of the frame it was made from, so the last frame keeps its time.
        m_durations[m_scaled->pts] = av_rescale_q(source->pkt_duration, clipTimeBase, m_encoder->time_base);
        encode(m_scaled.get());
    }

    void scaleInto(const AVFrame *source)
    {
        const Size output{m_encoder->width, m_encoder->height};
        const Size fitted = fitInside({source->width, source->height}, output);
        // Shrinking averages each output pixel's area (no ringing round painted letters, and
        // cheaper than a wide bicubic); enlarging interpolates bicubically.
        const bool shrinking = fitted.width < source->width || fitted.height < source->height;
        m_scaler = sws_getCachedContext(m_scaler, source->width, source->height, AVPixelFormat(source->format),
                                        fitted.width, fitted.height, AV_PIX_FMT_YUV420P,
                                        shrinking ? SWS_AREA : SWS_BICUBIC, nullptr, nullptr, nullptr);
        if (!m_scaler)
            throw ExportError::exportFailed(QStringLiteral("could not scale the clips."));
        if (!(fitted == output)) {
            // Black in studio range around a picture of another aspect.
            const int fills[3] = {16, 128, 128};
            for (int plane = 0; plane < 3; ++plane) {
                const int rows = plane == 0 ? output.height : output.height / 2;
                for (int y = 0; y < rows; ++y)
                    std::memset(m_scaled->data[plane] + ptrdiff_t(y) * m_scaled->linesize[plane], fills[plane],
                                size_t(plane == 0 ? output.width : output.width / 2));
            }
        }
        const int left = ((output.width - fitted.width) / 2) & ~1;
        const int top = ((output.height - fitted.height) / 2) & ~1;
        uint8_t *planes[3] = {m_scaled->data[0] + ptrdiff_t(top) * m_scaled->linesize[0] + left,
                              m_scaled->data[1] + ptrdiff_t(top / 2) * m_scaled->linesize[1] + left / 2,
                              m_scaled->data[2] + ptrdiff_t(top / 2) * m_scaled->linesize[2] + left / 2};
        sws_scale(m_scaler, source->data, source->linesize, 0, source->height, planes, m_scaled->linesize);
    }

    void encode(const AVFrame *frame)
    {
        const int status = encodeFrame(m_encoder.get(), frame, m_packet.get(), [this](AVPacket *packet) {
            if (const auto length = m_durations.find(packet->pts); length != m_durations.end()) {
                packet->duration = length->second;
                m_durations.erase(length);
            }
            m_muxer.writeVideo(packet, m_encoder->time_base);
            return 0;
        });
        if (status < 0)
            throw ExportError::exportFailed(errorText(status));
    }

    Codec m_encoder;
    ExportMuxer &m_muxer;
    Frame m_decoded;
    Frame m_scaled;
    Packet m_packet;
    SwsContext *m_scaler = nullptr;
    std::map<int64_t, int64_t> m_durations; // frame stamp -> length, until its packet is out
};

// Copies one clip's packets into the output at offset (in the output's time base).
void copyClip(const ClipInfo &clip, int64_t offset, ExportMuxer &muxer, ProgressReporter &progress,
              const CancelToken &cancel)
{
    int index = -1;
    const InputFile input = openClip(clip.path, index);
    const AVRational clipTimeBase = input->streams[index]->time_base;
    const Packet packet(av_packet_alloc());
    if (!packet)
        throw ExportError::sessionSetupFailed();
    while (av_read_frame(input.get(), packet.get()) >= 0) {
        cancel.throwIfCancelled();
        if (packet->stream_index != index) {
            av_packet_unref(packet.get());
            continue;
        }
        av_packet_rescale_ts(packet.get(), clipTimeBase, muxer.videoTimeBase());
        if (packet->pts != AV_NOPTS_VALUE)
            packet->pts += offset;
        if (packet->dts != AV_NOPTS_VALUE)
            packet->dts += offset;
        // The audio up to this picture goes first, so the file stays interleaved.
        const int64_t stamp = packet->dts != AV_NOPTS_VALUE ? packet->dts : packet->pts;
        if (stamp != AV_NOPTS_VALUE)
            muxer.writeAudioUntil(double(stamp) * av_q2d(muxer.videoTimeBase()));
        muxer.writeVideo(packet.get(), muxer.videoTimeBase());
        progress.at(muxer.videoSeconds());
    }
}

// Encodes [0, seconds) of the audio to AAC in a temporary file; nothing when the file holds
// no audio the decoder can read.
std::optional<QString> encodeAudio(const QString &audioPath, double seconds, const QTemporaryDir &folder)
{
    const QString path = folder.filePath(QStringLiteral("audio.m4a"));
    if (!(seconds > 0) || !writeAacClip(audioPath, path, 0, seconds))
        return std::nullopt;
    return path;
}

} // namespace

FfmpegVideoExporter::FfmpegVideoExporter(Options options)
    : m_options(options)
{
}

QCoro::Task<QString> FfmpegVideoExporter::exportVideo(QStringList clipPaths, std::optional<QString> audioPath,
                                                      ExportSettings settings, QString outputPath,
                                                      std::function<void(double)> onProgress, CancelToken cancel)
{
    auto exporting = onWorkerThread([this, clipPaths, audioPath, settings, outputPath, onProgress, cancel] {
        exportNow(clipPaths, audioPath, settings, outputPath, onProgress, cancel);
    });
    co_await exporting;
    co_return outputPath;
}

QString FfmpegVideoExporter::exportNow(const QStringList &clipPaths, const std::optional<QString> &audioPath,
                                       const ExportSettings &settings, const QString &outputPath,
                                       const std::function<void(double)> &onProgress,
                                       const CancelToken &cancel) const
{
    if (clipPaths.isEmpty())
        throw ExportError::noClips();
    // Clips without a video track are passed over; the cursor does not move for them.
    QList<ClipInfo> clips;
    for (const QString &path : clipPaths) {
        cancel.throwIfCancelled();
        if (std::optional<ClipInfo> clip = probeClip(path))
            clips.append(std::move(*clip));
    }
    if (clips.isEmpty())
        throw ExportError::noClips();
    if (clips.front().pixelFormat == AV_PIX_FMT_NONE)
        clips.front() = *probeClip(clips.front().path, true);

    // The video's shape and resolution fix its frame; clips of another size are fitted into it.
    const Size output = exportBox(settings.resolution, settings.shape);
    const AVRational timeBase = commonTimeBase(clips);
    std::vector<int64_t> offsets;
    int64_t length = 0;
    for (const ClipInfo &clip : clips) {
        offsets.push_back(length);
        length += av_rescale_q(clip.duration, clip.timeBase, timeBase);
    }
    const double seconds = double(length) * av_q2d(timeBase);
    const bool copy = m_options.copyWhenPossible && canCopyVideo(clips, output);
    if (onProgress)
        onProgress(0);

    // The audio is encoded on a thread of its own while the video is made; the future's
    // destructor waits for it on every path out of here.
    const QTemporaryDir scratch;
    if (!scratch.isValid())
        throw ExportError::sessionSetupFailed();
    std::future<std::optional<QString>> audio;
    if (audioPath && settings.includeOriginalAudio && QFileInfo(*audioPath).isFile())
        audio = std::async(std::launch::async, [&] { return encodeAudio(*audioPath, seconds, scratch); });

    // Clips that cannot be copied are first encoded into one video of the output's size,
    // which is then copied like a clip.
    if (!copy) {
        const QString video = scratch.filePath(QStringLiteral("video.mov"));
        ExportMuxer videoOnly(video, ExportContainer::mov);
        Codec encoder = encoding::openVideoEncoder(output.width, output.height, timeBase, clips.front().frameRate, true);
        if (!encoder)
            throw ExportError::sessionSetupFailed();
        videoOnly.addEncodedVideo(encoder.get());
        Transcoder transcoder(std::move(encoder), videoOnly);
        videoOnly.start();
        ProgressReporter encoding(onProgress, seconds, 0, 0.9);
        for (qsizetype i = 0; i < clips.size(); ++i)
            transcoder.addClip(clips[i], offsets[size_t(i)], encoding, cancel);
        transcoder.finish();
        videoOnly.finish();
        clips = {*probeClip(video, true)};
        offsets = {0};
    }

    const std::optional<QString> audioFile = audio.valid() ? audio.get() : std::nullopt;
    cancel.throwIfCancelled();
    ExportMuxer muxer(outputPath, settings.container);
    muxer.addCopiedVideo(clips.front(), copy ? timeBase : clips.front().timeBase);
    if (audioFile)
        muxer.addAudio(*audioFile);
    muxer.start();
    ProgressReporter copying(onProgress, seconds, copy ? 0 : 0.9, copy ? 1 : 0.1);
    for (qsizetype i = 0; i < clips.size(); ++i) {
        cancel.throwIfCancelled();
        copyClip(clips[i], offsets[size_t(i)], muxer, copying, cancel);
    }
    muxer.writeAudioUntil(seconds + 1);
    muxer.finish();
    if (onProgress)
        onProgress(1.0);
    return outputPath;
}

} // namespace quillvane
