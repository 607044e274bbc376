#pragma once

// When each chunk's frame is on screen. Following the song, the chunks tile it: chunk k is
// shown from its start until the next chunk starts, the last until the song ends, and the
// clips are cut on the video's frame grid so that together they last exactly as long.

#include "model/Records.h"

namespace quillvane {

// A first lyric this late into the song opens the video with a title card.
inline constexpr double introThreshold = 1.0;

// Sets every chunk's start and end to the time its frame is on screen; does nothing in
// fixed-length timing or without chunks. In index order (stored order among equal indexes):
// - a start is moved to the start of the transcript line the chunk's lyric begins with (the
//   nearest such line when the line repeats), kept within the song and never before the
//   previous chunk's start; a first chunk starting under introThreshold starts at 0;
// - each chunk ends where the next starts, the last where the song ends (audioDuration);
//   without a known length the last keeps its own end, or lasts durationSeconds when its
//   end is not after its start;
// - a chunk that would be on screen for less than one frame (tied with the next chunk, or
//   held back to the song's end) takes up to a second from the end of the chunk before it
//   (the first chunk: from the start of the one after it), at most half of that chunk's
//   time; only where there is no such room does it get an empty span at the next chunk's
//   start, so the chunk before it stays on screen in its place.
// Applied again to its own result it changes nothing (the tests hold it to that).
void followSong(Project &project);

// Frames per second the video is cut and its clips rendered at: the motion's rate held to
// 1...1000, so that frame numbers of any time in the song fit 64 bits.
qint64 videoFrameRate(const DepthFlowSettings &motion);

// One clip of the exported video.
struct ClipSlot {
    QUuid chunkID;
    qint64 frameCount = 1;  // frames of the clip, title card included
    qint64 introFrames = 0; // frames of title card before the chunk's frame
    qint64 firstFrame = 0;  // the video's frame the clip starts at
    bool operator==(const ClipSlot &) const = default;
};

// The clips of the exported video, end to end in playback order at `fps`: what the renderer
// renders, the exporter lays down, and the preview and export screens show.
struct ClipSchedule {
    qint64 fps = 1;
    QList<ClipSlot> clips;

    double seconds(qint64 frame) const { return double(frame) / double(fps); }
    // Frames of the whole video.
    qint64 frameCount() const { return clips.isEmpty() ? 0 : clips.last().firstFrame + clips.last().frameCount; }
};

// Following the song: one clip per chunk with a non-empty span (after followSong), the first
// of them opening with the title card for the frames before it; frame counts add up to the
// end of the last span rounded up to a whole frame. In fixed-length timing: one clip per
// chunk in index order, each max(trunc(durationSeconds * fps), 1) frames, none with a title
// card.
ClipSchedule videoSchedule(const Project &project);

// Chunk positions in project.chunks, sorted by index (stable).
QList<qsizetype> playbackOrder(const QList<StoryboardChunk> &chunks);

} // namespace quillvane
