#pragma once

// The last two stages as store operations: the motion run renders a parallax clip for every
// accepted frame, the export run makes sure every chunk has a clip and assembles the video.

#include "store/ProjectStore.h"

namespace quillvane {

inline const QString motionLabel = QStringLiteral("Rendering motion");
inline const QString exportLabel = QStringLiteral("Exporting video");

// Renders the clip of every accepted chunk, in stored order, into clips/<CHUNK-ID>.mov with
// the motion settings as they are when that clip starts; each finished clip's path is kept
// at once, so a failure part-way leaves the earlier clips in place. Progress runs from 0 to 1
// across all clips. No accepted chunk fails with notReviewed.
QCoro::Task<> runRenderMotion(ProjectStore &store, CancelToken cancel);
QCoro::Task<> startRenderMotion(ProjectStore &store);

// Requires every chunk accepted (notReviewed otherwise), renders the clips still missing,
// then exports the clips in index order over the track's audio to the export path and
// returns that path.
QCoro::Task<QString> runExportVideo(ProjectStore &store, CancelToken cancel);
// runExportVideo through Run; the written file's path, or nothing when the run failed.
QCoro::Task<std::optional<QString>> startExportVideo(ProjectStore &store);

} // namespace quillvane
