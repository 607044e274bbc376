#include "media/VideoJobs.h"

#include "media/ClipProbe.h"
#include "media/Lettering.h"
#include "model/Error.h"
#include "model/SyncedLyrics.h"
#include "storage/AtomicFile.h"

#include <QCryptographicHash>
#include <QFileInfo>

#include <algorithm>

namespace quillvane {

namespace {

// What the renderer is asked for: the still, the frames and, on the first clip, the title card.
MotionClip motionClip(const ClipOrder &order, const ClipBatch &batch)
{
    MotionClip clip;
    clip.imagePath = order.stillPath;
    clip.settings = batch.motion;
    clip.frameCount = order.frameCount;
    clip.introFrames = order.introFrames;
    if (order.introFrames > 0) {
        clip.title = batch.title;
        clip.artist = batch.artist;
    }
    // The clip before, whose end this one's start cross-fades from.
    if (batch.motion.transition == ClipTransition::crossfade) {
        clip.previousImagePath = order.previousStillPath;
        clip.previousFrameCount = order.previousFrameCount;
    }
    clip.frameSize = batch.frameSize;
    // Lettering: the lines on screen while the clip plays.
    if (!batch.lyrics.isEmpty()) {
        const double seconds = double(order.frameCount) / double(std::max<qint64>(batch.motion.fps, 1));
        clip.lyrics = linesShownBetween(batch.lyrics, order.songStart, order.songStart + seconds);
        clip.songStart = order.songStart;
        clip.lettering = batch.lettering;
    }
    return clip;
}

// A fingerprint of everything a clip is made from: the still (its path, size and time), the
// motion, the frames, the title card and the still it cross-fades from. The leading version
// changes whenever the same request draws different pixels. A clip whose file carries the same key is current.
QString keyOf(const MotionClip &clip)
{
    const QFileInfo still(clip.imagePath);
    const DepthFlowSettings &m = clip.settings;
    QStringList parts{QStringLiteral("clip2"), clip.imagePath, QString::number(still.size()),
                      QString::number(still.lastModified().toMSecsSinceEpoch()), QString::number(m.intensity, 'g', 17),
                      QString::number(m.zoom, 'g', 17), QString::number(m.fps), QString::number(clip.frameCount),
                      QString::number(clip.introFrames)};
    if (clip.introFrames > 0)
        parts.append({clip.title, clip.artist, textValue(clip.settings.transition)});
    // The start of a cross-faded clip shows the previous still, so editing that still renders
    // this clip again too.
    if (!clip.previousImagePath.isEmpty()) {
        const QFileInfo previous(clip.previousImagePath);
        parts.append({clip.previousImagePath, QString::number(previous.size()),
                      QString::number(previous.lastModified().toMSecsSinceEpoch()),
                      QString::number(clip.previousFrameCount)});
    }
    // The shape: a clip of another size is another picture.
    if (!clip.frameSize.isEmpty())
        parts.append(QStringLiteral("%1x%2").arg(clip.frameSize.width()).arg(clip.frameSize.height()));
    // Lettering: every line, word and time the clip shows, where the clip starts in the song,
    // and the look.
    if (!clip.lyrics.isEmpty()) {
        const auto time = [](double seconds) { return QString::number(seconds, 'g', 17); };
        const LetteringStyle &look = clip.lettering;
        parts.append({QStringLiteral("lettering1"), time(clip.songStart), look.family, look.fill, look.lit, look.outline});
        for (const TranscriptSegment &line : clip.lyrics) {
            parts.append({line.text, time(line.start), time(line.end)});
            for (const TimedWord &word : line.words)
                parts.append({word.text, time(word.start), time(word.end)});
        }
    }
    return QString::fromLatin1(
        QCryptographicHash::hash(parts.join(QChar(0x1F)).toUtf8(), QCryptographicHash::Sha256).toHex());
}

struct KeyedClip {
    ClipOrder order;
    MotionClip clip;
};

QList<KeyedClip> keyed(const ClipBatch &batch)
{
    QList<KeyedClip> clips;
    for (const ClipOrder &order : batch.clips) {
        MotionClip clip = motionClip(order, batch);
        clip.key = keyOf(clip);
        clips.append({order, clip});
    }
    return clips;
}

// Whether the clip's file is the one the project holds, whole, and made from exactly this request.
bool isCurrent(const KeyedClip &clip)
{
    return clip.order.keptPath == clip.order.path && clipKey(clip.order.path) == clip.clip.key;
}

// Renders the clips that are not current, one after another, reporting their share of the
// frames scaled into [0, share].
QCoro::Task<> renderStale(QList<KeyedClip> clips, MotionRenderer &renderer, ClipWritten written,
                          TaskReport report, double share, CancelToken cancel)
{
    QList<KeyedClip> stale;
    double frames = 0;
    for (const KeyedClip &clip : clips) {
        if (isCurrent(clip))
            continue;
        stale.append(clip);
        frames += double(std::max<qint64>(clip.clip.frameCount, 1));
    }
    double done = 0;
    for (const KeyedClip &clip : stale) {
        cancel.throwIfCancelled();
        const double weight = double(std::max<qint64>(clip.clip.frameCount, 1));
        auto onProgress = [report, done, weight, frames, share](double part) {
            report.advance(std::clamp(share * (done + part * weight) / frames, 0.0, 1.0));
        };
        auto rendering = renderer.render(clip.clip, clip.order.path, onProgress, cancel);
        co_await rendering;
        cancel.throwIfCancelled();
        if (written)
            written(clip.order.chunkID, clip.order.path);
        done += weight;
    }
}

} // namespace

QCoro::Task<QHash<QUuid, QString>> renderClips(ClipBatch batch, MotionRenderer &renderer, ClipWritten written,
                                               TaskReport report, CancelToken cancel)
{
    auto rendering = renderStale(keyed(batch), renderer, std::move(written), report, 1.0, cancel);
    co_await rendering;
    report.advance(1.0);
    QHash<QUuid, QString> paths;
    for (const ClipOrder &order : batch.clips)
        paths.insert(order.chunkID, order.path);
    co_return paths;
}

QCoro::Task<QString> exportClips(ClipBatch batch, VideoOrder order, MotionRenderer &renderer,
                                 VideoExporter &exporter, ClipWritten written, TaskReport report,
                                 CancelToken cancel)
{
    const QList<KeyedClip> clips = keyed(batch);
    const bool rendering = std::any_of(clips.begin(), clips.end(), [](const KeyedClip &clip) { return !isCurrent(clip); });
    const double renderShare = rendering ? 0.8 : 0.0;
    auto renders = renderStale(clips, renderer, std::move(written), report, renderShare, cancel);
    co_await renders;

    QStringList paths;
    for (const ClipOrder &clip : batch.clips)
        paths.append(clip.path);
    auto exportProgress = [report, renderShare](double part) { report.advance(renderShare + (1 - renderShare) * part); };
    auto exporting
        = exporter.exportVideo(paths, order.audioPath, order.settings, order.outputPath, exportProgress, cancel);
    const QString video = co_await exporting;
    cancel.throwIfCancelled();
    if (order.settings.subtitles && !order.transcript.isEmpty()) {
        const QString base = video.left(video.size() - QFileInfo(video).suffix().size());
        writeLyricsFile(order.transcript, batch.title, batch.artist, base + QStringLiteral("srt"));
        writeLyricsFile(order.transcript, batch.title, batch.artist, base + QStringLiteral("lrc"));
    }
    co_return video;
}

void writeLyricsFile(const QList<TranscriptSegment> &lines, const QString &title, const QString &artist,
                     const QString &path)
{
    const QString name = QFileInfo(path).fileName();
    const QString format = syncedLyricsFormat(name);
    if (format.isEmpty())
        throw Error(QStringLiteral("%1 is not a lyrics file name Quillvane can write: end it in .srt or .lrc.").arg(name));
    if (lines.isEmpty())
        throw Error(QStringLiteral("There are no timed lyrics to write yet. Time the lyrics first."));
    const QString text = format == QLatin1String("srt") ? srtText(lines) : lrcText(lines, title, artist);
    if (const auto failure = replaceFileAtomically(path, text.toUtf8()))
        throw Error(QStringLiteral("Quillvane couldn’t write %1 (%2).").arg(name, *failure));
}

} // namespace quillvane
