#pragma once

// The one place that says how Quillvane encodes video: H.264 by libx264 in 4:2:0, tagged as
// BT.709 studio range, tuned for good quality at speed. Motion clips and re-encoded exports
// share it, which is also what lets an export copy clips that already have its size.

#include "av/Encoding.h"
#include "av/FfmpegHandles.h"

extern "C" {
#include <libavutil/rational.h>
}

namespace quillvane::encoding {

inline constexpr const char *encoderName = "libx264";
// superfast: the encoder is most of the road's time on a small machine, and a slow push-in over
// a still painting gains little from a wider search; at the same quality the file is larger
// (about 1.8 times), still a small share of a song's audio and pictures.
inline constexpr const char *preset = "superfast";
inline constexpr const char *constantRateFactor = "18";

// An opened encoder for width x height frames stamped in timeBase (one frame per tick at
// frameRate), or null when it cannot be made. globalHeader for containers that keep the
// parameter sets in the header (MOV, MP4).
ffmpeg::Codec openVideoEncoder(int width, int height, AVRational timeBase, AVRational frameRate, bool globalHeader);

// Draining the encoder is shared FFmpeg plumbing; the name is kept here for the encoder's users.
using ffmpeg::encodeFrame;

} // namespace quillvane::encoding
