// Spans laid over the song: what each chunk's start and end become, and the clips cut from them.

#include "model/ClipSpans.h"

#include <gtest/gtest.h>

#include <cmath>

using namespace quillvane;

namespace {

struct Timed {
    qint64 index;
    double start, end;
    const char *lyric = "";
};

Project projectWith(const QList<Timed> &chunks, double song, const QList<TranscriptSegment> &lines = {},
                    ClipTiming timing = ClipTiming::followSong)
{
    Project project;
    project.motion.clipTiming = timing;
    project.audioDuration = song;
    project.motion.fps = 10;
    project.transcript = lines;
    for (const Timed &t : chunks) {
        StoryboardChunk chunk;
        chunk.index = t.index;
        chunk.start = t.start;
        chunk.end = t.end;
        chunk.lyricExcerpt = QString::fromUtf8(t.lyric);
        project.chunks.append(chunk);
    }
    return project;
}

using Spans = QList<std::pair<double, double>>;

TEST(FollowSong, LaysTheChunksOverTheSong)
{
    const QList<TranscriptSegment> lyrics{{{}, QStringLiteral("Under the bridge, we wait"), 12.4, 13.4, {}},
                                          {{}, QStringLiteral("Lights go out"), 20, 21, {}},
                                          {{}, QStringLiteral("Under the bridge"), 40, 41, {}}};
    const struct {
        const char *description;
        Project project;
        Spans expected;
    } rows[] = {
        {"each chunk runs to the next start, the last to the song's end",
         projectWith({{0, 0.5, 3}, {1, 5, 7}, {2, 9, 10}}, 30), {{0, 5}, {5, 9}, {9, 30}}},
        {"stored out of order, played by index", projectWith({{2, 9, 10}, {0, 2, 3}, {1, 5, 7}}, 30),
         {{9, 30}, {2, 5}, {5, 9}}},
        {"rough planner times snap to the line the lyric begins with",
         projectWith({{0, 11, 19}, {1, 21.3, 30, "Lights go out\nand on"}}, 60, lyrics), {{11, 20}, {20, 60}}},
        {"a repeated line snaps to the nearest of its times",
         projectWith({{0, 19, 30, "lights, go OUT!"}, {1, 38.5, 50, "under the bridge"}}, 60, lyrics),
         {{20, 40}, {40, 60}}},
        {"a lyric that is not a whole word of the line does not snap",
         projectWith({{0, 3, 30, "Light"}}, 60, lyrics), {{3, 60}}},
        {"a start before the previous one is raised to it, and the first of the tie takes a second of the next",
         projectWith({{0, 4, 8}, {1, 2, 8}, {2, 8, 9}}, 20), {{4, 5}, {5, 8}, {8, 20}}},
        {"equal starts: both are shown, the later a second on", projectWith({{0, 3, 5}, {1, 3, 6}}, 10),
         {{3, 4}, {4, 10}}},
        {"three tied chunks borrow from the one before them",
         projectWith({{0, 35, 36}, {1, 40, 41}, {2, 40, 41}, {3, 40, 45}}, 50), {{35, 39}, {39, 39.5}, {39.5, 40}, {40, 50}}},
        {"no room to borrow: every chunk past the song's end goes empty", projectWith({{0, 20, 21}, {1, 30, 31}}, 10),
         {{10, 10}, {10, 10}}},
        {"a start past the song's end is clamped and shown for the song's last second",
         projectWith({{0, 2, 5}, {1, 50, 60}}, 30), {{2, 29}, {29, 30}}},
        {"a span under one frame borrows a second from the chunk before",
         projectWith({{0, 2, 5}, {1, 5, 5.02}, {2, 5.03, 6}}, 10), {{2, 4}, {4, 5.03}, {5.03, 10}}},
        {"a first lyric under a second in starts the video", projectWith({{0, 0.9, 4}, {1, 4, 6}}, 10),
         {{0, 4}, {4, 10}}},
        {"without audio the last chunk keeps its end", projectWith({{0, 2, 4}, {1, 4, 7.5}}, 0), {{2, 4}, {4, 7.5}}},
        {"without audio an end before the start lasts the clip duration", projectWith({{0, 2, 4}, {1, 5, 1}}, 0),
         {{2, 5}, {5, 9}}},
        {"fixed-length timing leaves the chunks alone", projectWith({{0, 2, 3}, {1, 1, 9}}, 30, {}, ClipTiming::fixedLength),
         {{2, 3}, {1, 9}}},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.description);
        Project project = row.project;
        followSong(project);
        Spans got;
        for (const StoryboardChunk &chunk : project.chunks)
            got.append({chunk.start, chunk.end});
        EXPECT_EQ(got, row.expected);
        Project again = project;
        followSong(again);
        EXPECT_EQ(again, project) << "a second pass changed the spans";
    }
}

TEST(VideoSchedule, LaysTheClipsEndToEndOnTheFrameGrid)
{
    Project fixed = projectWith({{1, 0, 9}, {0, 5, 7}}, 30, {}, ClipTiming::fixedLength);
    fixed.motion.durationSeconds = 0.29; // cut to whole frames
    const struct {
        const char *description;
        Project project;
        QList<std::pair<qint64, qint64>> frames; // (frames, title card frames) per clip
    } rows[] = {
        {"a late first lyric opens with the title card", projectWith({{0, 2.34, 3}, {1, 5.06, 7}}, 9.01),
         {{51, 23}, {40, 0}}},
        {"an early first lyric has none", projectWith({{0, 0.4, 3}, {1, 5, 7}}, 9), {{50, 0}, {40, 0}}},
        {"tied and late chunks still get a clip", projectWith({{0, 3, 5}, {1, 3, 6}, {2, 50, 60}}, 10),
         {{40, 30}, {50, 0}, {10, 0}}},
        {"without audio the video ends with the last chunk", projectWith({{0, 2, 4}, {1, 4, 7.5}}, 0),
         {{40, 20}, {35, 0}}},
        {"fixed-length clips ignore the song", fixed, {{2, 0}, {2, 0}}},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.description);
        const ClipSchedule schedule = videoSchedule(row.project);
        EXPECT_EQ(schedule.fps, 10);
        ASSERT_EQ(schedule.clips.size(), row.frames.size());
        qint64 at = 0;
        for (qsizetype i = 0; i < schedule.clips.size(); ++i) {
            EXPECT_EQ(schedule.clips[i].firstFrame, at) << i;
            EXPECT_EQ(schedule.clips[i].frameCount, row.frames[i].first) << i;
            EXPECT_EQ(schedule.clips[i].introFrames, row.frames[i].second) << i;
            at += schedule.clips[i].frameCount;
        }
        EXPECT_EQ(schedule.frameCount(), at);
    }
}

TEST(VideoSchedule, AddsUpToTheSongRoundedUpWhateverTheStarts)
{
    // Starts that fall between frames everywhere: the cuts must not drift over a long song.
    QList<Timed> chunks;
    for (int k = 0; k < 60; ++k)
        chunks.append({k, 3.0 + k * 3.717, 0});
    for (const qint64 fps : {24, 30, 60}) {
        Project project = projectWith(chunks, 233.3333, {});
        project.motion.fps = fps;
        const ClipSchedule schedule = videoSchedule(project);
        EXPECT_EQ(schedule.frameCount(), qint64(std::ceil(233.3333 * double(fps)))) << fps;
        EXPECT_EQ(schedule.clips.size(), 60);
        EXPECT_EQ(schedule.clips.first().introFrames, std::llround(3.0 * double(fps)));
    }
}

} // namespace
