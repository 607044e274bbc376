#pragma once

#include "store/ProjectStore.h"

namespace quillvane {

inline const QString timingLabel = QStringLiteral("Aligning timing");

// Transcribes the project's track and lays its lyric lines over the timed chunks, giving one
// transcript segment per line. Does nothing while a transcript exists. Fails with
// missingAudio, emptyLyrics or the transcriber's error, leaving the project as it was.
QCoro::Task<> runTiming(ProjectStore &store, CancelToken cancel);

// runTiming through the store's Run wrapper, under its label.
QCoro::Task<> startTiming(ProjectStore &store);

} // namespace quillvane
