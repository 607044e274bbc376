#include "av/Encoding.h"

extern "C" {
#include <libavutil/error.h>
}

namespace quillvane::ffmpeg {

int encodeFrame(AVCodecContext *encoder, const AVFrame *frame, AVPacket *packet,
                const std::function<int(AVPacket *)> &write)
{
    int status = avcodec_send_frame(encoder, frame);
    while (status >= 0) {
        status = avcodec_receive_packet(encoder, packet);
        // EAGAIN: the encoder wants more frames; EOF: it has been drained.
        if (status == AVERROR(EAGAIN) || status == AVERROR_EOF)
            return 0;
        if (status >= 0)
            status = write(packet);
    }
    return status;
}

int encodeFrame(AVCodecContext *encoder, const AVFrame *frame, AVPacket *packet, AVFormatContext *output,
                const AVStream *stream)
{
    return encodeFrame(encoder, frame, packet, [&](AVPacket *encoded) {
        // The stream's time base is read here: writing the header may have changed it.
        av_packet_rescale_ts(encoded, encoder->time_base, stream->time_base);
        encoded->stream_index = stream->index;
        // Takes the packet's data over and leaves the packet blank for the next round.
        return av_interleaved_write_frame(output, encoded);
    });
}

QString errorText(int code)
{
    char text[AV_ERROR_MAX_STRING_SIZE] = {};
    av_strerror(code, text, sizeof text);
    return QString::fromUtf8(text);
}

} // namespace quillvane::ffmpeg
