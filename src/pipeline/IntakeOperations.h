#pragma once

// The intake stages as store operations: importing a track and timing its lyrics.

#include "audio/AudioImport.h"
#include "audio/TimingRun.h"
#include "store/ProjectStore.h"

namespace quillvane {

// Makes the track at `path` the project's audio: title and artist from its tags, the
// transcript and storyboard emptied, and the lyrics taken as readTrack and hearLyrics find
// them. The track stays the project's when the lyrics step fails; so do the file's lyrics
// when checking them against the audio fails.
QCoro::Task<> importAudio(ProjectStore &store, QString path, CancelToken cancel);

// importAudio through the store's Run wrapper, under its label.
QCoro::Task<Done> startImport(ProjectStore &store, QString path, CancelToken cancel = {});

// Places the project's lyric lines on its track (timeLines, by the store's timing method) and
// takes the track's length from its tags. Does nothing while a transcript exists. Fails with
// missingAudio, emptyLyrics or the engines' error, leaving the project as it was.
QCoro::Task<> runTiming(ProjectStore &store, CancelToken cancel);

// runTiming through the store's Run wrapper, under its label.
QCoro::Task<Done> startTiming(ProjectStore &store, CancelToken cancel = {});

} // namespace quillvane
