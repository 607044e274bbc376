#include "media/VideoFacts.h"

#include "support/Fixtures.h"

#include <QFile>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
}

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

LumaFrame lumaOf(const AVFrame *frame)
{
    LumaFrame luma{frame->width, frame->height, {}};
    luma.samples.resize(size_t(frame->width) * size_t(frame->height));
    for (int y = 0; y < frame->height; ++y)
        std::copy_n(frame->data[0] + ptrdiff_t(y) * frame->linesize[0], frame->width,
                    luma.samples.data() + size_t(y) * size_t(frame->width));
    return luma;
}

} // namespace

VideoFacts inspectVideo(const QString &path, const QList<int> &lumaOfFrames)
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
    int video = -1;
    int audio = -1;
    for (unsigned i = 0; i < input.context->nb_streams; ++i) {
        const AVCodecParameters *codec = input.context->streams[i]->codecpar;
        if (codec->codec_type == AVMEDIA_TYPE_VIDEO) {
            ++facts.videoStreams;
            video = int(i);
            facts.videoCodec = QString::fromUtf8(avcodec_get_name(codec->codec_id));
            facts.width = codec->width;
            facts.height = codec->height;
        } else if (codec->codec_type == AVMEDIA_TYPE_AUDIO) {
            ++facts.audioStreams;
            audio = int(i);
            facts.audioCodec = QString::fromUtf8(avcodec_get_name(codec->codec_id));
        }
    }
    // Both tracks are decoded in one pass over the packets.
    Decoder videoDecoder;
    Decoder audioDecoder;
    if (video >= 0 && !openDecoder(videoDecoder, input.context->streams[video]))
        video = -1;
    if (audio >= 0 && !openDecoder(audioDecoder, input.context->streams[audio]))
        audio = -1;
    const double videoUnit = video >= 0 ? av_q2d(input.context->streams[video]->time_base) : 0;
    if (video >= 0 && input.context->streams[video]->duration != AV_NOPTS_VALUE)
        facts.videoEnd = double(input.context->streams[video]->duration) * videoUnit;
    int64_t samples = 0;
    int rate = 0;
    Frame frame;
    const auto decode = [&](int stream, const AVPacket *packet) {
        if (stream < 0 || (stream != video && stream != audio))
            return;
        AVCodecContext *decoder = stream == video ? videoDecoder.context : audioDecoder.context;
        avcodec_send_packet(decoder, packet);
        while (avcodec_receive_frame(decoder, frame.frame) == 0) {
            if (stream == audio) {
                samples += frame.frame->nb_samples;
                rate = frame.frame->sample_rate;
            } else {
                if (lumaOfFrames.contains(int(facts.frameTimes.size())))
                    facts.luma.append(lumaOf(frame.frame));
                facts.frameTimes.append(double(frame.frame->best_effort_timestamp) * videoUnit);
                facts.frameColours.append(meanColour(frame.frame));
            }
            av_frame_unref(frame.frame);
        }
    };
    Packet packet;
    while (av_read_frame(input.context, packet.packet) >= 0) {
        if (packet.packet->stream_index == video && facts.firstVideoPacket.isEmpty())
            facts.firstVideoPacket = QByteArray(reinterpret_cast<const char *>(packet.packet->data), packet.packet->size);
        decode(packet.packet->stream_index, packet.packet);
        av_packet_unref(packet.packet);
    }
    decode(video, nullptr);
    decode(audio, nullptr);
    facts.audioSeconds = rate > 0 ? double(samples) / rate : 0;
    return facts;
}

} // namespace quillvane::test
