#pragma once

// Owners for FFmpeg's C objects, so that every early return frees what was made so far.

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/audio_fifo.h>
#include <libswresample/swresample.h>
}

#include <memory>

namespace quillvane::ffmpeg {

struct InputCloser {
    void operator()(AVFormatContext *context) const { avformat_close_input(&context); }
};
struct OutputCloser {
    void operator()(AVFormatContext *context) const
    {
        avio_closep(&context->pb);
        avformat_free_context(context);
    }
};
struct CodecFreer {
    void operator()(AVCodecContext *codec) const { avcodec_free_context(&codec); }
};
struct FrameFreer {
    void operator()(AVFrame *frame) const { av_frame_free(&frame); }
};
struct PacketFreer {
    void operator()(AVPacket *packet) const { av_packet_free(&packet); }
};
struct ResamplerFreer {
    void operator()(SwrContext *resampler) const { swr_free(&resampler); }
};
struct FifoFreer {
    void operator()(AVAudioFifo *fifo) const { av_audio_fifo_free(fifo); }
};

using InputFile = std::unique_ptr<AVFormatContext, InputCloser>;
using OutputFile = std::unique_ptr<AVFormatContext, OutputCloser>;
using Codec = std::unique_ptr<AVCodecContext, CodecFreer>;
using Frame = std::unique_ptr<AVFrame, FrameFreer>;
using Packet = std::unique_ptr<AVPacket, PacketFreer>;
using Resampler = std::unique_ptr<SwrContext, ResamplerFreer>;
using Fifo = std::unique_ptr<AVAudioFifo, FifoFreer>;

} // namespace quillvane::ffmpeg
