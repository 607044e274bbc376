#include "media/VideoFacts.h"

#include "support/Fixtures.h"

#include <QFile>

#include <numeric>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
}

namespace quillvane::test {

namespace {

// The encoders' chatter would bury the test output.
const bool quiet = (av_log_set_level(AV_LOG_QUIET), true);

// An FFmpeg object freed by its own function when the test is done with it.
template <typename T, auto release>
struct Owned {
    T *p = nullptr;
    ~Owned() { release(&p); }
};
using Input = Owned<AVFormatContext, avformat_close_input>;
using Decoder = Owned<AVCodecContext, avcodec_free_context>;

bool openDecoder(Decoder &decoder, const AVStream *stream)
{
    const AVCodec *codec = avcodec_find_decoder(stream->codecpar->codec_id);
    decoder.p = codec ? avcodec_alloc_context3(codec) : nullptr;
    if (!decoder.p || avcodec_parameters_to_context(decoder.p, stream->codecpar) < 0)
        return false;
    decoder.p->pkt_timebase = stream->time_base;
    return avcodec_open2(decoder.p, codec, nullptr) == 0;
}

MeanColour meanColour(const AVFrame *frame)
{
    const auto mean = [frame](int plane, int width, int height) {
        double sum = 0;
        for (int y = 0; y < height; ++y) {
            const uint8_t *row = frame->data[plane] + ptrdiff_t(y) * frame->linesize[plane];
            sum = std::accumulate(row, row + width, sum);
        }
        return sum / (double(width) * height);
    };
    const int width = frame->width;
    const int height = frame->height;
    return {mean(0, width, height), mean(1, width / 2, height / 2), mean(2, width / 2, height / 2)};
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
    if (avformat_open_input(&input.p, QFile::encodeName(path).constData(), nullptr, nullptr) < 0
        || avformat_find_stream_info(input.p, nullptr) < 0)
        return facts;
    facts.opened = true;
    int video = -1, audio = -1;
    for (unsigned i = 0; i < input.p->nb_streams; ++i) {
        const AVCodecParameters *codec = input.p->streams[i]->codecpar;
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
    Decoder videoDecoder, audioDecoder;
    if (video >= 0 && !openDecoder(videoDecoder, input.p->streams[video]))
        video = -1;
    if (audio >= 0 && !openDecoder(audioDecoder, input.p->streams[audio]))
        audio = -1;
    const double videoUnit = video >= 0 ? av_q2d(input.p->streams[video]->time_base) : 0;
    if (video >= 0 && input.p->streams[video]->duration != AV_NOPTS_VALUE)
        facts.videoEnd = double(input.p->streams[video]->duration) * videoUnit;
    int64_t samples = 0;
    int rate = 0;
    Owned<AVFrame, av_frame_free> frame{av_frame_alloc()};
    const auto decode = [&](int stream, const AVPacket *packet) {
        if (stream < 0 || (stream != video && stream != audio))
            return;
        AVCodecContext *decoder = stream == video ? videoDecoder.p : audioDecoder.p;
        avcodec_send_packet(decoder, packet);
        while (avcodec_receive_frame(decoder, frame.p) == 0) {
            if (stream == audio) {
                samples += frame.p->nb_samples;
                rate = frame.p->sample_rate;
            } else {
                if (lumaOfFrames.contains(int(facts.frameTimes.size())))
                    facts.luma.append(lumaOf(frame.p));
                facts.frameTimes.append(double(frame.p->best_effort_timestamp) * videoUnit);
                facts.frameColours.append(meanColour(frame.p));
            }
            av_frame_unref(frame.p);
        }
    };
    Owned<AVPacket, av_packet_free> packet{av_packet_alloc()};
    while (av_read_frame(input.p, packet.p) >= 0) {
        if (packet.p->stream_index == video && facts.firstVideoPacket.isEmpty())
            facts.firstVideoPacket = QByteArray(reinterpret_cast<const char *>(packet.p->data), packet.p->size);
        decode(packet.p->stream_index, packet.p);
        av_packet_unref(packet.p);
    }
    decode(video, nullptr);
    decode(audio, nullptr);
    facts.audioSeconds = rate > 0 ? double(samples) / rate : 0;
    return facts;
}

} // namespace quillvane::test
