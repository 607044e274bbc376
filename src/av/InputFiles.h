#pragma once

// Opening a media file for reading, the same way everywhere.

#include "av/FfmpegHandles.h"

#include <QByteArray>
#include <QString>

namespace quillvane::ffmpeg {

// An absolute path in the file system's encoding, so that FFmpeg never reads a name such as
// "http:x.mp3" as a protocol.
QByteArray fileName(const QString &path);

// How much opening a file reads: its header alone, or also the start of its streams, which
// decodes a little to learn what the header leaves out (H.264's pixel format, say).
enum class Probe { header, streams };

// The file opened for reading; null when FFmpeg cannot open or probe it.
InputFile openInput(const QString &path, Probe probe = Probe::streams);

// The file's main stream of that type, as FFmpeg ranks them; null when it has none.
AVStream *bestStream(AVFormatContext *input, AVMediaType type);

} // namespace quillvane::ffmpeg
