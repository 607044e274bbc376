#pragma once

// How long a file's audio runs, and re-encoding a stretch of that audio as an AAC clip in an
// M4A container: what the audio tools cut clips for recognition with, and what the exporter
// lays under the video.

#include <QString>

namespace quillvane {

// Seconds of audio in the file; 0 when FFmpeg cannot open it or finds no audio stream in it.
double probeAudioDuration(const QString &path);

// Decodes [start, start + duration) of the file's main audio stream (stopping early at the
// end of the audio) and writes it to `output` as AAC in an M4A container. False on any
// failure, a stretch that holds no audio at all included; `output` may then be left half
// written, and removing it is up to the caller.
bool writeAacClip(const QString &input, const QString &output, double start, double duration);

} // namespace quillvane
