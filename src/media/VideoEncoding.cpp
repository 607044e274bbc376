#include "media/VideoEncoding.h"

extern "C" {
#include <libavutil/opt.h>
}

namespace quillvane::encoding {

ffmpeg::Codec openVideoEncoder(int width, int height, AVRational timeBase, AVRational frameRate, bool globalHeader)
{
    const AVCodec *codec = avcodec_find_encoder_by_name(encoderName);
    if (!codec)
        return {};
    ffmpeg::Codec encoder(avcodec_alloc_context3(codec));
    if (!encoder)
        return {};
    encoder->width = width;
    encoder->height = height;
    encoder->pix_fmt = AV_PIX_FMT_YUV420P;
    encoder->time_base = timeBase;
    encoder->framerate = frameRate;
    encoder->sample_aspect_ratio = AVRational{1, 1};
    encoder->color_range = AVCOL_RANGE_MPEG;
    encoder->colorspace = AVCOL_SPC_BT709;
    encoder->color_primaries = AVCOL_PRI_BT709;
    encoder->color_trc = AVCOL_TRC_BT709;
    encoder->thread_count = 0; // one per core
    if (globalHeader)
        encoder->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
    av_opt_set(encoder->priv_data, "preset", preset, 0);
    av_opt_set(encoder->priv_data, "crf", constantRateFactor, 0);
    if (avcodec_open2(encoder.get(), codec, nullptr) < 0)
        return {};
    return encoder;
}

} // namespace quillvane::encoding
