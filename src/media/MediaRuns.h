#pragma once

// The last two stages as store operations: the motion run renders a parallax clip for every
// accepted frame, the export run makes sure every chunk has a clip and assembles the video.

#include "store/ProjectStore.h"

namespace quillvane {

inline const QString motionLabel = QStringLiteral("Rendering motion");
inline const QString exportLabel = QStringLiteral("Exporting video");

// Renders the clip of every accepted chunk into clips/<CHUNK-ID>.mov, unless the file there
// was made from the same still, span and motion. Following the song, each clip lasts its
// chunk's span (the spans are laid over the song first) and the first one opens with the
// title card; in fixed-length timing each lasts durationSeconds. Each finished clip's path
// is kept at once, so a failure part-way leaves the earlier clips in place. Progress runs
// from 0 to 1 across the frames rendered. No accepted chunk fails with notReviewed.
QCoro::Task<> runRenderMotion(ProjectStore &store, CancelToken cancel);
QCoro::Task<Done> startRenderMotion(ProjectStore &store, CancelToken cancel = {});

// Requires every chunk accepted (notReviewed otherwise), renders the clips that are missing
// or out of date, then exports the clips in index order over the track's audio to the
// export path and returns that path. Following the song, the video lasts as long as the
// song and carries all of it; in fixed-length timing the audio ends with the last clip. With
// subtitles on and a timed transcript, NAME.srt and NAME.lrc are written beside the video.
QCoro::Task<QString> runExportVideo(ProjectStore &store, CancelToken cancel);
// Writes the project's timed lyrics to path, as SubRip or LRC by its suffix (.srt, .lrc), whole
// or not at all. Throws Error with a sentence naming the file when there are no timed lyrics,
// the suffix is neither, or the file cannot be written.
void writeLyricsFile(const Project &project, const QString &path);

// runExportVideo through Run; done with the written file's path.
QCoro::Task<Outcome<QString>> startExportVideo(ProjectStore &store, CancelToken cancel = {});

} // namespace quillvane
