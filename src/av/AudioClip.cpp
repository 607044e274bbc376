#include "av/AudioClip.h"

#include "av/Encoding.h"
#include "av/FfmpegHandles.h"
#include "av/InputFiles.h"

extern "C" {
#include <libavutil/channel_layout.h>
}

#include <algorithm>
#include <cmath>
#include <memory>
#include <vector>

namespace quillvane {

namespace {

using namespace ffmpeg;

// AAC only knows the MPEG-4 rates; anything else is resampled to 48 kHz.
int clipSampleRate(const AVCodec *encoder, int sourceRate)
{
    for (const int *rate = encoder->supported_samplerates; rate && *rate; ++rate) {
        if (*rate == sourceRate)
            return sourceRate;
    }
    return 48000;
}

Frame audioFrame(const AVCodecContext *layout, int samples)
{
    Frame frame(av_frame_alloc());
    if (!frame)
        return {};
    frame->format = layout->sample_fmt;
    frame->sample_rate = layout->sample_rate;
    frame->nb_samples = samples;
    if (av_channel_layout_copy(&frame->ch_layout, &layout->ch_layout) < 0 || av_frame_get_buffer(frame.get(), 0) < 0)
        return {};
    return frame;
}

// One clip: the source's decoder, the resampler to the encoder's planar float, a FIFO that
// cuts the stream into the encoder's frame size, and the AAC encoder with its M4A muxer.
class ClipWriter {
public:
    ClipWriter(double start, double end)
        : m_start(start)
        , m_end(end)
    {
    }

    bool open(const QString &input, const QString &output);
    bool write();

private:
    bool openDecoder();
    bool openEncoder(const QString &output);
    // The source's timestamp of its first sample: containers may start their clock anywhere.
    int64_t origin() const { return m_source->start_time == AV_NOPTS_VALUE ? 0 : m_source->start_time; }
    void seekToStart();
    bool decode(const AVPacket *packet);
    bool keepInsideRange(const AVFrame *frame);
    double secondsFromStart(const AVFrame *frame) const;
    bool matchResampler(const AVFrame *frame);
    bool resample(const uint8_t **samples, int count);
    bool encodeBuffered(bool final);
    bool encode(const AVFrame *frame);

    const double m_start;
    const double m_end;
    InputFile m_input;
    AVStream *m_source = nullptr;
    Codec m_decoder;
    OutputFile m_output;
    AVStream *m_clip = nullptr;
    Codec m_encoder;
    Resampler m_resampler;
    AVSampleFormat m_resamplerFormat = AV_SAMPLE_FMT_NONE;
    int m_resamplerRate = 0;
    int m_resamplerChannels = 0;
    Fifo m_fifo;
    Frame m_decoded;
    Packet m_encoded;
    double m_nextFrameTime = 0; // for frames that come without a timestamp
    bool m_pastEnd = false;
    int64_t m_samplesWritten = 0;
};

bool ClipWriter::open(const QString &input, const QString &output)
{
    m_input = openInput(input);
    if (!m_input || !(m_source = bestStream(m_input.get(), AVMEDIA_TYPE_AUDIO)) || !openDecoder() || !openEncoder(output))
        return false;
    m_decoded.reset(av_frame_alloc());
    m_encoded.reset(av_packet_alloc());
    m_fifo.reset(av_audio_fifo_alloc(m_encoder->sample_fmt, m_encoder->ch_layout.nb_channels, m_encoder->frame_size));
    return m_decoded && m_encoded && m_fifo;
}

bool ClipWriter::openDecoder()
{
    const AVCodec *decoder = avcodec_find_decoder(m_source->codecpar->codec_id);
    if (!decoder)
        return false;
    m_decoder.reset(avcodec_alloc_context3(decoder));
    if (!m_decoder || avcodec_parameters_to_context(m_decoder.get(), m_source->codecpar) < 0)
        return false;
    // Lets the decoder move the timestamps of the priming samples it drops (AAC, MP3).
    m_decoder->pkt_timebase = m_source->time_base;
    return avcodec_open2(m_decoder.get(), decoder, nullptr) == 0;
}

bool ClipWriter::openEncoder(const QString &output)
{
    const QByteArray name = fileName(output);
    AVFormatContext *raw = nullptr;
    // "ipod" is FFmpeg's M4A flavour of the MP4 muxer.
    if (avformat_alloc_output_context2(&raw, nullptr, "ipod", name.constData()) < 0)
        return false;
    m_output.reset(raw);

    const AVCodec *aac = avcodec_find_encoder_by_name("aac");
    if (!aac || !(m_encoder = Codec(avcodec_alloc_context3(aac))))
        return false;
    // Speech recognition is all a clip is for: mono stays mono, anything wider becomes stereo.
    const int channels = m_decoder->ch_layout.nb_channels == 1 ? 1 : 2;
    av_channel_layout_default(&m_encoder->ch_layout, channels);
    m_encoder->sample_fmt = AV_SAMPLE_FMT_FLTP;
    m_encoder->sample_rate = clipSampleRate(aac, m_decoder->sample_rate);
    m_encoder->time_base = AVRational{1, m_encoder->sample_rate};
    m_encoder->bit_rate = 96000 * channels;
    if (m_output->oformat->flags & AVFMT_GLOBALHEADER)
        m_encoder->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
    if (avcodec_open2(m_encoder.get(), aac, nullptr) < 0)
        return false;

    m_clip = avformat_new_stream(m_output.get(), nullptr);
    if (!m_clip || avcodec_parameters_from_context(m_clip->codecpar, m_encoder.get()) < 0)
        return false;
    m_clip->time_base = m_encoder->time_base;
    return avio_open(&m_output->pb, name.constData(), AVIO_FLAG_WRITE) >= 0
        && avformat_write_header(m_output.get(), nullptr) >= 0;
}

// Lands on a packet at or before the start; the samples before it are dropped by timestamp,
// so a seek that fails only costs decoding time.
void ClipWriter::seekToStart()
{
    if (m_start <= 0)
        return;
    const int64_t target = origin() + av_rescale_q(std::llround(m_start * AV_TIME_BASE), AVRational{1, AV_TIME_BASE}, m_source->time_base);
    avformat_seek_file(m_input.get(), m_source->index, INT64_MIN, target, target, 0);
}

bool ClipWriter::write()
{
    seekToStart();
    const Packet packet(av_packet_alloc());
    if (!packet)
        return false;
    while (!m_pastEnd && av_read_frame(m_input.get(), packet.get()) >= 0) {
        const bool ok = packet->stream_index != m_source->index || decode(packet.get());
        av_packet_unref(packet.get());
        if (!ok)
            return false;
    }
    if (!decode(nullptr) || (m_resampler && !resample(nullptr, 0)) || !encodeBuffered(true) || !encode(nullptr))
        return false;
    return m_samplesWritten > 0 && av_write_trailer(m_output.get()) == 0;
}

// A null packet drains the decoder.
bool ClipWriter::decode(const AVPacket *packet)
{
    // A damaged packet is skipped, as a player would; the frames around it still count.
    if (avcodec_send_packet(m_decoder.get(), packet) < 0)
        return true;
    while (avcodec_receive_frame(m_decoder.get(), m_decoded.get()) == 0) {
        const bool ok = keepInsideRange(m_decoded.get());
        av_frame_unref(m_decoded.get());
        if (!ok)
            return false;
    }
    return true;
}

// Seconds from the first sample of the audio, whatever the container's own clock starts at.
double ClipWriter::secondsFromStart(const AVFrame *frame) const
{
    if (frame->best_effort_timestamp == AV_NOPTS_VALUE)
        return m_nextFrameTime;
    return double(frame->best_effort_timestamp - origin()) * av_q2d(m_source->time_base);
}

// Passes the part of the frame inside [start, end) on to the resampler.
bool ClipWriter::keepInsideRange(const AVFrame *frame)
{
    if (frame->nb_samples <= 0 || frame->sample_rate <= 0)
        return true;
    const double rate = frame->sample_rate;
    const double time = secondsFromStart(frame);
    m_nextFrameTime = time + frame->nb_samples / rate;
    if (time >= m_end) {
        m_pastEnd = true;
        return true;
    }
    const auto sampleAt = [&](double seconds) {
        return int(std::lround(std::clamp((seconds - time) * rate, 0.0, double(frame->nb_samples))));
    };
    const int first = sampleAt(m_start);
    const int count = sampleAt(m_end) - first;
    if (count <= 0)
        return true;
    if (!matchResampler(frame))
        return false;

    const auto format = AVSampleFormat(frame->format);
    const int channels = frame->ch_layout.nb_channels;
    const bool planar = av_sample_fmt_is_planar(format);
    const ptrdiff_t offset = ptrdiff_t(first) * av_get_bytes_per_sample(format) * (planar ? 1 : channels);
    std::vector<const uint8_t *> planes(size_t(planar ? channels : 1));
    for (size_t i = 0; i < planes.size(); ++i)
        planes[i] = frame->extended_data[i] + offset;
    return resample(planes.data(), count) && encodeBuffered(false);
}

// Made from the first decoded frame rather than the stream header, which some decoders only
// settle once they have decoded something. A source that changes shape midway is refused.
bool ClipWriter::matchResampler(const AVFrame *frame)
{
    const auto format = AVSampleFormat(frame->format);
    if (m_resampler) {
        return format == m_resamplerFormat && frame->sample_rate == m_resamplerRate
            && frame->ch_layout.nb_channels == m_resamplerChannels;
    }
    AVChannelLayout source{};
    if (frame->ch_layout.order == AV_CHANNEL_ORDER_UNSPEC)
        av_channel_layout_default(&source, frame->ch_layout.nb_channels);
    else if (av_channel_layout_copy(&source, &frame->ch_layout) < 0)
        return false;
    SwrContext *raw = nullptr;
    const int status = swr_alloc_set_opts2(&raw, &m_encoder->ch_layout, m_encoder->sample_fmt, m_encoder->sample_rate,
                                           &source, format, frame->sample_rate, 0, nullptr);
    av_channel_layout_uninit(&source);
    m_resampler.reset(raw);
    if (status < 0 || swr_init(raw) < 0)
        return false;
    m_resamplerFormat = format;
    m_resamplerRate = frame->sample_rate;
    m_resamplerChannels = frame->ch_layout.nb_channels;
    return true;
}

// Null samples drain what the resampler still holds.
bool ClipWriter::resample(const uint8_t **samples, int count)
{
    const int capacity = swr_get_out_samples(m_resampler.get(), count);
    if (capacity < 0)
        return false;
    if (capacity == 0)
        return true;
    const Frame converted = audioFrame(m_encoder.get(), capacity);
    if (!converted)
        return false;
    const int produced = swr_convert(m_resampler.get(), converted->extended_data, capacity, samples, count);
    if (produced < 0)
        return false;
    return av_audio_fifo_write(m_fifo.get(), reinterpret_cast<void **>(converted->extended_data), produced) == produced;
}

// Encodes whole encoder frames from the FIFO; `final` also sends the short remainder.
bool ClipWriter::encodeBuffered(bool final)
{
    const int frameSize = m_encoder->frame_size;
    while (av_audio_fifo_size(m_fifo.get()) >= frameSize || (final && av_audio_fifo_size(m_fifo.get()) > 0)) {
        const int samples = std::min(av_audio_fifo_size(m_fifo.get()), frameSize);
        const Frame frame = audioFrame(m_encoder.get(), samples);
        if (!frame || av_audio_fifo_read(m_fifo.get(), reinterpret_cast<void **>(frame->extended_data), samples) != samples)
            return false;
        frame->pts = m_samplesWritten;
        m_samplesWritten += samples;
        if (!encode(frame.get()))
            return false;
    }
    return true;
}

// A null frame drains the encoder.
bool ClipWriter::encode(const AVFrame *frame)
{
    return encodeFrame(m_encoder.get(), frame, m_encoded.get(), m_output.get(), m_clip) >= 0;
}

} // namespace

double probeAudioDuration(const QString &path)
{
    const InputFile input = openInput(path);
    const AVStream *audio = input ? bestStream(input.get(), AVMEDIA_TYPE_AUDIO) : nullptr;
    if (!audio)
        return 0;
    // The container's length covers every stream; a stream's own is the fallback.
    if (input->duration != AV_NOPTS_VALUE && input->duration > 0)
        return double(input->duration) / AV_TIME_BASE;
    if (audio->duration != AV_NOPTS_VALUE && audio->duration > 0)
        return double(audio->duration) * av_q2d(audio->time_base);
    return 0;
}

bool writeAacClip(const QString &input, const QString &output, double start, double duration)
{
    const double end = start + duration;
    if (!(start >= 0) || !(end > start))
        return false;
    ClipWriter writer(start, end);
    return writer.open(input, output) && writer.write();
}

} // namespace quillvane
