#include "media/VideoFacts.h"

#include "support/Fixtures.h"

#include <QFile>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
}

#include <memory>

namespace quillvane::test {

namespace {

// The encoders' chatter would bury the test output.
const bool quiet = (av_log_set_level(AV_LOG_QUIET), true);

struct Input {
    AVFormatContext *context = nullptr;
    ~Input() { avformat_close_input(&context); }
};
struct Decoder {
    AVCodecContext *context = nullptr;
    ~Decoder() { avcodec_free_context(&context); }
};
struct Frame {
    AVFrame *frame = av_frame_alloc();
    ~Frame() { av_frame_free(&frame); }
};
struct Packet {
    AVPacket *packet = av_packet_alloc();
    ~Packet() { av_packet_free(&packet); }
};

bool openDecoder(Decoder &decoder, const AVStream *stream)
{
    const AVCodec *codec = avcodec_find_decoder(stream->codecpar->codec_id);
    decoder.context = codec ? avcodec_alloc_context3(codec) : nullptr;
    if (!decoder.context || avcodec_parameters_to_context(decoder.context, stream->codecpar) < 0)
        return false;
    decoder.context->pkt_timebase = stream->time_base;
    return avcodec_open2(decoder.context, codec, nullptr) == 0;
}

MeanColour meanColour(const AVFrame *frame)
{
    MeanColour mean;
    double *sums[3] = {&mean.y, &mean.cb, &mean.cr};
    for (int plane = 0; plane < 3; ++plane) {
        const int width = plane == 0 ? frame->width : frame->width / 2;
        const int height = plane == 0 ? frame->height : frame->height / 2;
        double sum = 0;
        for (int y = 0; y < height; ++y) {
            const uint8_t *row = frame->data[plane] + ptrdiff_t(y) * frame->linesize[plane];
            for (int x = 0; x < width; ++x)
                sum += row[x];
        }
        *sums[plane] = sum / (double(width) * height);
    }
    return mean;
}

// Calls visit for every decoded frame of the stream, then drains the decoder.
template <typename Visit>
void decodeStream(AVFormatContext *input, int index, Decoder &decoder, Visit visit)
{
    Packet packet;
    Frame frame;
    const auto drain = [&] {
        while (avcodec_receive_frame(decoder.context, frame.frame) == 0) {
            visit(frame.frame);
            av_frame_unref(frame.frame);
        }
    };
    while (av_read_frame(input, packet.packet) >= 0) {
        if (packet.packet->stream_index == index) {
            avcodec_send_packet(decoder.context, packet.packet);
            drain();
        }
        av_packet_unref(packet.packet);
    }
    avcodec_send_packet(decoder.context, nullptr);
    drain();
}

} // namespace

VideoFacts inspectVideo(const QString &path)
{
    VideoFacts facts;
    const QByteArray bytes = readFile(path);
    if (bytes.size() >= 12)
        facts.majorBrand = bytes.mid(8, 4);
    const qsizetype moov = bytes.indexOf("moov");
    const qsizetype mdat = bytes.indexOf("mdat");
    facts.indexAtFront = moov >= 0 && mdat >= 0 && moov < mdat;

    Input input;
    if (avformat_open_input(&input.context, QFile::encodeName(path).constData(), nullptr, nullptr) < 0
        || avformat_find_stream_info(input.context, nullptr) < 0)
        return facts;
    facts.opened = true;
    int videoIndex = -1;
    int audioIndex = -1;
    for (unsigned i = 0; i < input.context->nb_streams; ++i) {
        const AVCodecParameters *codec = input.context->streams[i]->codecpar;
        if (codec->codec_type == AVMEDIA_TYPE_VIDEO) {
            ++facts.videoStreams;
            videoIndex = int(i);
            facts.videoCodec = QString::fromUtf8(avcodec_get_name(codec->codec_id));
            facts.width = codec->width;
            facts.height = codec->height;
        } else if (codec->codec_type == AVMEDIA_TYPE_AUDIO) {
            ++facts.audioStreams;
            audioIndex = int(i);
            facts.audioCodec = QString::fromUtf8(avcodec_get_name(codec->codec_id));
        }
    }
    if (videoIndex >= 0) {
        Packet first;
        while (av_read_frame(input.context, first.packet) >= 0) {
            const bool found = first.packet->stream_index == videoIndex;
            if (found)
                facts.firstVideoPacket = QByteArray(reinterpret_cast<const char *>(first.packet->data), first.packet->size);
            av_packet_unref(first.packet);
            if (found)
                break;
        }
        av_seek_frame(input.context, -1, INT64_MIN, AVSEEK_FLAG_BACKWARD);
        avformat_flush(input.context);
        Decoder decoder;
        const AVStream *stream = input.context->streams[videoIndex];
        if (openDecoder(decoder, stream)) {
            decodeStream(input.context, videoIndex, decoder, [&](const AVFrame *frame) {
                const double time = double(frame->best_effort_timestamp) * av_q2d(stream->time_base);
                facts.frameTimes.append(time);
                facts.frameColours.append(meanColour(frame));
            });
            if (stream->duration != AV_NOPTS_VALUE)
                facts.videoEnd = double(stream->duration) * av_q2d(stream->time_base);
        }
    }
    if (audioIndex >= 0) {
        av_seek_frame(input.context, -1, INT64_MIN, AVSEEK_FLAG_BACKWARD);
        avformat_flush(input.context);
        Decoder decoder;
        if (openDecoder(decoder, input.context->streams[audioIndex])) {
            int64_t samples = 0;
            int rate = 0;
            decodeStream(input.context, audioIndex, decoder, [&](const AVFrame *frame) {
                samples += frame->nb_samples;
                rate = frame->sample_rate;
            });
            facts.audioSeconds = rate > 0 ? double(samples) / rate : 0;
        }
    }
    return facts;
}

QList<LumaFrame> lumaFrames(const QString &path, const QList<int> &indices)
{
    QList<LumaFrame> frames;
    Input input;
    if (avformat_open_input(&input.context, QFile::encodeName(path).constData(), nullptr, nullptr) < 0
        || avformat_find_stream_info(input.context, nullptr) < 0)
        return frames;
    const int index = av_find_best_stream(input.context, AVMEDIA_TYPE_VIDEO, -1, -1, nullptr, 0);
    Decoder decoder;
    if (index < 0 || !openDecoder(decoder, input.context->streams[index]))
        return frames;
    int number = 0;
    decodeStream(input.context, index, decoder, [&](const AVFrame *frame) {
        if (indices.contains(number)) {
            LumaFrame luma{frame->width, frame->height, {}};
            luma.samples.resize(size_t(frame->width) * size_t(frame->height));
            for (int y = 0; y < frame->height; ++y)
                std::copy_n(frame->data[0] + ptrdiff_t(y) * frame->linesize[0], frame->width,
                            luma.samples.data() + size_t(y) * size_t(frame->width));
            frames.append(std::move(luma));
        }
        ++number;
    });
    return frames;
}

} // namespace quillvane::test
