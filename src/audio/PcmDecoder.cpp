#include "audio/PcmDecoder.h"

#include "av/FfmpegHandles.h"
#include "av/InputFiles.h"

extern "C" {
#include <libavutil/channel_layout.h>
}

#include <algorithm>

namespace quillvane {

// The open file and the conversion chain: demuxer, decoder, and a resampler to 16 kHz mono
// 16-bit whose output waits in `pending` until read() hands it out.
struct PcmDecoder::Stream {
    ffmpeg::InputFile input;
    int streamIndex = -1;
    ffmpeg::Codec codec;
    ffmpeg::Frame frame{av_frame_alloc()};
    ffmpeg::Packet packet{av_packet_alloc()};
    ffmpeg::Resampler resampler;
    AVSampleFormat resamplerFormat = AV_SAMPLE_FMT_NONE;
    int resamplerRate = 0;
    int resamplerChannels = 0;
    int outChannels = 1;
    std::vector<int16_t> pending;
    bool ended = false;
    bool failed = false;

    bool open(const QString &path);
    void pump();
    void decode(const AVPacket *data);
    bool matchResampler(const AVFrame *source);
    void convert(const AVFrame *source);
    void fail() { failed = ended = true; }
};

bool PcmDecoder::Stream::open(const QString &path)
{
    if (!frame || !packet || !(input = ffmpeg::openInput(path)))
        return false;
    const AVStream *stream = ffmpeg::bestStream(input.get(), AVMEDIA_TYPE_AUDIO);
    if (!stream)
        return false;
    streamIndex = stream->index;
    const AVCodec *decoder = avcodec_find_decoder(stream->codecpar->codec_id);
    if (!decoder)
        return false;
    codec.reset(avcodec_alloc_context3(decoder));
    if (!codec || avcodec_parameters_to_context(codec.get(), stream->codecpar) < 0)
        return false;
    codec->pkt_timebase = stream->time_base;
    return avcodec_open2(codec.get(), decoder, nullptr) == 0;
}

// Decodes one more packet of the audio stream; at the end of the file, drains the decoder
// and the resampler.
void PcmDecoder::Stream::pump()
{
    if (av_read_frame(input.get(), packet.get()) < 0) {
        decode(nullptr);
        if (resampler && !failed)
            convert(nullptr);
        ended = true;
        return;
    }
    if (packet->stream_index == streamIndex)
        decode(packet.get());
    av_packet_unref(packet.get());
}

// A null packet drains the decoder.
void PcmDecoder::Stream::decode(const AVPacket *data)
{
    // A damaged packet is skipped, as a player would; the frames around it still count.
    if (avcodec_send_packet(codec.get(), data) < 0)
        return;
    while (!failed && avcodec_receive_frame(codec.get(), frame.get()) == 0) {
        if (frame->nb_samples > 0) {
            if (matchResampler(frame.get()))
                convert(frame.get());
            else
                fail();
        }
        av_frame_unref(frame.get());
    }
}

// Made from the decoded frames rather than the stream header, which some decoders only settle
// once they have decoded something; a source that changes shape midway gets a new one.
bool PcmDecoder::Stream::matchResampler(const AVFrame *source)
{
    const auto format = AVSampleFormat(source->format);
    if (resampler && format == resamplerFormat && source->sample_rate == resamplerRate
        && source->ch_layout.nb_channels == resamplerChannels)
        return true;
    if (resampler)
        convert(nullptr);

    AVChannelLayout sourceLayout{};
    if (source->ch_layout.order == AV_CHANNEL_ORDER_UNSPEC)
        av_channel_layout_default(&sourceLayout, source->ch_layout.nb_channels);
    else if (av_channel_layout_copy(&sourceLayout, &source->ch_layout) < 0)
        return false;
    AVChannelLayout target = AV_CHANNEL_LAYOUT_MONO;
    if (outChannels == 2)
        target = AV_CHANNEL_LAYOUT_STEREO;
    SwrContext *raw = nullptr;
    const int status = swr_alloc_set_opts2(&raw, &target, AV_SAMPLE_FMT_S16, sampleRate, &sourceLayout, format,
                                           source->sample_rate, 0, nullptr);
    av_channel_layout_uninit(&sourceLayout);
    resampler.reset(raw);
    if (status < 0 || swr_init(raw) < 0)
        return false;
    resamplerFormat = format;
    resamplerRate = source->sample_rate;
    resamplerChannels = source->ch_layout.nb_channels;
    return true;
}

// A null frame drains what the resampler still holds.
void PcmDecoder::Stream::convert(const AVFrame *source)
{
    const int count = source ? source->nb_samples : 0;
    const int capacity = swr_get_out_samples(resampler.get(), count);
    if (capacity < 0) {
        fail();
        return;
    }
    const std::size_t before = pending.size();
    const auto channels = std::size_t(outChannels);
    pending.resize(before + std::size_t(capacity) * channels);
    auto *out = reinterpret_cast<uint8_t *>(pending.data() + before);
    const int produced = swr_convert(resampler.get(), &out, capacity,
                                     source ? const_cast<const uint8_t **>(source->extended_data) : nullptr, count);
    pending.resize(before + std::size_t(std::max(produced, 0)) * channels);
    if (produced < 0)
        fail();
}

PcmDecoder::PcmDecoder(const QString &path, int channels)
    : m_stream(std::make_unique<Stream>())
{
    m_stream->outChannels = channels == 2 ? 2 : 1;
    if (!m_stream->open(path))
        m_stream->fail();
}

PcmDecoder::~PcmDecoder() = default;

std::vector<int16_t> PcmDecoder::read(std::size_t count)
{
    Stream &stream = *m_stream;
    while (!stream.ended && stream.pending.size() < count)
        stream.pump();
    const auto end = stream.pending.begin() + std::ptrdiff_t(std::min(count, stream.pending.size()));
    std::vector<int16_t> samples(stream.pending.begin(), end);
    stream.pending.erase(stream.pending.begin(), end);
    return samples;
}

bool PcmDecoder::failed() const
{
    return m_stream->failed;
}

} // namespace quillvane
