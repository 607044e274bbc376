#pragma once

// Feeding an encoder and writing what comes out. Failures are FFmpeg's negative codes, so
// each caller turns them into its own error (a false, a DemoError, an ExportError).

#include "av/FfmpegHandles.h"

#include <QString>

#include <functional>

namespace quillvane::ffmpeg {

// Sends a frame to the encoder (null drains it) and hands every packet that comes out to
// write, which takes the packet's data. Returns 0, or the first failing FFmpeg code.
int encodeFrame(AVCodecContext *encoder, const AVFrame *frame, AVPacket *packet,
                const std::function<int(AVPacket *)> &write);

// The same, with each packet restamped from the encoder's time base into the stream's and
// interleaved into the output.
int encodeFrame(AVCodecContext *encoder, const AVFrame *frame, AVPacket *packet, AVFormatContext *output,
                const AVStream *stream);

// FFmpeg's text for an error code, for messages a user may read.
QString errorText(int code);

} // namespace quillvane::ffmpeg
