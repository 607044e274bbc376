#pragma once

// The one place that says how Quillvane encodes video: H.264 by libx264 in 4:2:0, tagged as
// BT.709 studio range, tuned for good quality at speed. Motion clips and re-encoded exports
// share it, which is also what lets an export copy clips that already have its size.

#include "audio/FfmpegHandles.h"

extern "C" {
#include <libavutil/rational.h>
}

#include <QString>

#include <functional>

namespace quillvane::encoding {

inline constexpr const char *encoderName = "libx264";
inline constexpr const char *preset = "veryfast";
inline constexpr const char *constantRateFactor = "18";

// An opened encoder for width x height frames stamped in timeBase (one frame per tick at
// frameRate), or null when it cannot be made. globalHeader for containers that keep the
// parameter sets in the header (MOV, MP4).
ffmpeg::Codec openVideoEncoder(int width, int height, AVRational timeBase, AVRational frameRate, bool globalHeader);

// Sends a frame to the encoder (null drains it) and hands every packet that comes out to
// write, which takes the packet's data. Returns 0, or the first failing FFmpeg code.
int encodeFrame(AVCodecContext *encoder, const AVFrame *frame, AVPacket *packet,
                const std::function<int(AVPacket *)> &write);

// FFmpeg's text for an error code, for messages a user may read.
QString errorText(int code);

// An absolute path in the file system's encoding, so that FFmpeg never reads a name such as
// "http:x.mov" as a protocol.
QByteArray fileName(const QString &path);

} // namespace quillvane::encoding
