#pragma once

// What the exporter needs to know about each motion clip before it writes anything: whether
// it has video at all, its size, codec, time scale and real duration, and so the output's
// size and time scale and whether the clips can be copied instead of re-encoded.

#include "av/FfmpegHandles.h"
#include "model/Records.h"

extern "C" {
#include <libavutil/rational.h>
}

#include <QByteArray>
#include <QList>
#include <QString>

#include <cstdint>
#include <optional>

namespace quillvane {

struct ClipInfo {
    QString path;
    int width = 0;
    int height = 0;
    int codecID = 0;     // AVCodecID
    int pixelFormat = -1; // AVPixelFormat
    QByteArray parameterSets; // the codec's extradata (SPS/PPS for H.264)
    AVRational timeBase{0, 1};
    AVRational frameRate{0, 1};
    int64_t duration = 0; // in timeBase
};

// Opens a clip or audio file for reading; null when it cannot be opened. The streams are
// read for their parameters only when the header leaves them out.
ffmpeg::InputFile openMediaFile(const QString &path, bool readStreams = false);

// The clip's first video stream, or nothing when the file has no video. readStreams decodes
// the start of the streams for what the header leaves out (the pixel format of H.264). Throws
// ExportError::exportFailed naming the clip when the file cannot be opened or read.
std::optional<ClipInfo> probeClip(const QString &path, bool readStreams = false);

struct Size {
    int width = 0;
    int height = 0;
    bool operator==(const Size &) const = default;
};

// The frame of an export in its shape: the resolution names the short side, and 1440p shares
// 1080p's frame (a tall 1080p or 1440p export is 1080x1920).
Size exportBox(ExportResolution resolution, VideoShape shape = VideoShape::landscape);
// width x height scaled to fit the box keeping its aspect, up or down, in even numbers.
Size fitInside(Size source, Size box);

// One time base that holds every clip's timestamps exactly when that is possible (the least
// common multiple of their time scales), else 1/90000.
AVRational commonTimeBase(const QList<ClipInfo> &clips);

// The key a motion clip was written with, when the file is a whole clip with video; nothing
// for a missing, half-written or foreign file.
std::optional<QString> clipKey(const QString &path);

// True when every clip's frames can go into the output as they are: H.264 4:2:0 of exactly
// the output size, with the same parameter sets and time base as the first clip.
bool canCopyVideo(const QList<ClipInfo> &clips, Size output);

} // namespace quillvane
