#include "model/ClipSpans.h"

#include <algorithm>
#include <cmath>
#include <numeric>

namespace quillvane {

namespace {

// Lower-case letters and digits, every other run of characters one blank: how a chunk's
// lyric is compared with a transcript line whatever the punctuation and line breaks.
QString plainWords(const QString &text)
{
    QString words;
    words.reserve(text.size());
    bool gap = false;
    for (const QChar c : text) {
        if (c.isLetterOrNumber()) {
            if (gap && !words.isEmpty())
                words.append(QLatin1Char(' '));
            words.append(c.toLower());
            gap = false;
        } else {
            gap = true;
        }
    }
    return words;
}

// Whether `longer` begins with the whole words of `shorter`.
bool beginsWith(const QString &longer, const QString &shorter)
{
    return longer.startsWith(shorter) && (longer.size() == shorter.size() || longer.at(shorter.size()) == QLatin1Char(' '));
}

struct Line {
    QString words;
    double start = 0;
};

// Start of the line the lyric begins with (or that begins with the whole lyric), nearest to
// `near` when several match; nothing when none does.
std::optional<double> lineStart(const QList<Line> &lines, const QString &lyric, double near)
{
    std::optional<double> best;
    if (lyric.isEmpty())
        return best;
    for (const Line &line : lines) {
        if (!beginsWith(lyric, line.words) && !beginsWith(line.words, lyric))
            continue;
        if (!best || std::abs(line.start - near) < std::abs(*best - near))
            best = line.start;
    }
    return best;
}

// Times from a damaged document are held to a range whose frame numbers fit 64 bits.
double bounded(double seconds)
{
    return std::clamp(seconds, 0.0, 1e9);
}

// The most a tied chunk takes from its neighbour's time.
constexpr double borrowedSeconds = 1.0;

qint64 frameAt(double seconds, double fps)
{
    return std::llround(bounded(seconds) * fps);
}

// The song's end is rounded up, so the video never stops before the song does.
qint64 endFrame(double seconds, double fps)
{
    return qint64(std::ceil(bounded(seconds) * fps - 1e-6));
}

// One clip per chunk with a non-empty span, cut on the frame grid.
QList<ClipSlot> followingSlots(const Project &project, double fps)
{
    Project spans = project;
    followSong(spans);
    const QList<qsizetype> order = playbackOrder(spans.chunks);

    QList<ClipSlot> slots;
    const double videoEnd = order.isEmpty() ? 0 : spans.chunks.at(order.last()).end;
    for (qsizetype k = 0; k < order.size(); ++k) {
        const StoryboardChunk &chunk = spans.chunks.at(order.at(k));
        if (!(chunk.end > chunk.start))
            continue;
        // The clip that reaches the video's end is rounded up with it.
        const qint64 first = frameAt(chunk.start, fps);
        const qint64 last = chunk.end >= videoEnd ? endFrame(chunk.end, fps) : frameAt(chunk.end, fps);
        if (last <= first)
            continue;
        // The first clip starts the video; whatever comes before its lyric is title card.
        if (slots.isEmpty())
            slots.append({chunk.id, last, first, 0});
        else
            slots.append({chunk.id, last - first, 0, first});
    }
    return slots;
}

} // namespace

qint64 videoFrameRate(const DepthFlowSettings &motion)
{
    return std::clamp<qint64>(motion.fps, 1, 1000);
}

QList<qsizetype> playbackOrder(const QList<StoryboardChunk> &chunks)
{
    QList<qsizetype> order(chunks.size());
    std::iota(order.begin(), order.end(), 0);
    std::stable_sort(order.begin(), order.end(),
                     [&chunks](qsizetype a, qsizetype b) { return chunks.at(a).index < chunks.at(b).index; });
    return order;
}

void followSong(Project &project)
{
    if (project.motion.clipTiming != ClipTiming::followSong || project.chunks.isEmpty())
        return;
    const double fps = double(videoFrameRate(project.motion));
    // The song's length, when known (0 otherwise).
    const double song = std::isfinite(project.audioDuration) && project.audioDuration > 0 ? project.audioDuration : 0;
    QList<Line> lines;
    for (const TranscriptSegment &segment : project.transcript) {
        if (std::isfinite(segment.start) && !plainWords(segment.text).isEmpty())
            lines.append({plainWords(segment.text), segment.start});
    }

    const QList<qsizetype> order = playbackOrder(project.chunks);
    const qsizetype count = order.size();
    QList<double> starts;
    double previous = 0;
    for (const qsizetype position : order) {
        const StoryboardChunk &chunk = project.chunks.at(position);
        double start = std::isfinite(chunk.start) ? chunk.start : previous;
        start = lineStart(lines, plainWords(chunk.lyricExcerpt), start).value_or(start);
        start = std::max(start, 0.0);
        if (song > 0)
            start = std::min(start, song);
        start = std::max(start, previous);
        starts.append(start);
        previous = start;
    }
    if (starts.first() < introThreshold)
        starts.first() = 0;

    const StoryboardChunk &lastChunk = project.chunks.at(order.last());
    double end = 0;
    if (song > 0) {
        end = song;
    } else {
        const double fallback = std::isfinite(project.motion.durationSeconds) && project.motion.durationSeconds > 0
                                    ? project.motion.durationSeconds
                                    : 1;
        end = std::isfinite(lastChunk.end) && lastChunk.end > starts.last() ? lastChunk.end : starts.last() + fallback;
        end = std::max(end, starts.last() + 1 / fps);
    }

    // A frame that was generated and accepted is shown: a chunk tied with the next one (two
    // lyrics timed to the same moment, or a planner's start past the song's end) borrows up
    // to a second from the end of the chunk before it, or, first of all, from the start of the
    // one after it. Only where there is no such room does it go empty below.
    const double frame = 1 / fps;
    const auto spanOf = [&](qsizetype k) { return (k + 1 < count ? starts.at(k + 1) : end) - starts.at(k); };
    if (count > 1 && spanOf(0) < frame)
        starts[1] = std::min(end, starts.at(1) + std::min(borrowedSeconds, spanOf(1) / 2));
    for (qsizetype k = 1; k < count; ++k) {
        if (spanOf(k) >= frame)
            continue;
        const double taken = std::min(borrowedSeconds, (starts.at(k) - starts.at(k - 1)) / 2);
        if (taken >= frame)
            starts[k] -= taken;
    }

    // From the back, so an emptied chunk's new start is where the one before it now ends.
    qint64 nextFrame = endFrame(end, fps);
    for (qsizetype k = count - 1; k >= 0; --k) {
        StoryboardChunk &chunk = project.chunks[order.at(k)];
        chunk.end = k + 1 < count ? starts.at(k + 1) : end;
        // A chunk held back to the song's end is never sung within it.
        if (frameAt(starts.at(k), fps) >= nextFrame || (song > 0 && starts.at(k) >= song))
            starts[k] = chunk.end;
        chunk.start = starts.at(k);
        nextFrame = std::min(nextFrame, frameAt(chunk.start, fps));
    }
}

ClipSchedule videoSchedule(const Project &project)
{
    ClipSchedule schedule;
    schedule.fps = videoFrameRate(project.motion);
    if (project.motion.clipTiming == ClipTiming::followSong) {
        schedule.clips = followingSlots(project, double(schedule.fps));
        return schedule;
    }
    const double seconds = std::isfinite(project.motion.durationSeconds) ? bounded(project.motion.durationSeconds) : 0;
    const qint64 frames = std::max<qint64>(qint64(std::trunc(seconds * double(schedule.fps))), 1);
    qint64 first = 0;
    for (const qsizetype position : playbackOrder(project.chunks)) {
        schedule.clips.append({project.chunks.at(position).id, frames, 0, first});
        first += frames;
    }
    return schedule;
}

} // namespace quillvane
