#pragma once

// The last two stages as store operations: the motion run renders a parallax clip for every
// accepted frame, the export run makes sure every chunk has a clip and assembles the video.

#include "media/VideoJobs.h"
#include "store/ProjectStore.h"

namespace quillvane {

inline const QString motionLabel = QStringLiteral("Rendering motion");
inline const QString exportLabel = QStringLiteral("Exporting video");

// Renders the clip of every accepted chunk into clips/<CHUNK-ID>.mov, unless the file there
// was made from the same still, span and motion, cut as videoSchedule lays the video out (the
// chunks' spans are laid over the song first, and the track's length learnt when the project
// does not know it). Each finished clip's path is kept at once, so a failure part-way leaves
// the earlier clips in place. No accepted chunk fails with notReviewed.
QCoro::Task<Done> startRenderMotion(ProjectStore &store, CancelToken cancel = {});

// Requires every chunk accepted (notReviewed otherwise), renders the clips that are missing
// or out of date, then exports the clips in playback order over the track's audio to the
// export path; done with that path. Following the song, the video lasts as long as the song
// and carries all of it; in fixed-length timing the audio ends with the last clip. With
// subtitles on (this export's choice when given, else the project's setting) and a timed
// transcript, NAME.srt and NAME.lrc are written beside the video.
QCoro::Task<Outcome<QString>> startExportVideo(ProjectStore &store, CancelToken cancel = {},
                                               std::optional<bool> subtitles = std::nullopt);

} // namespace quillvane
