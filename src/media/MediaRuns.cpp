#include "media/MediaRuns.h"

#include "audio/FfmpegClip.h"
#include "media/ClipProbe.h"
#include "model/ClipSpans.h"
#include "model/PipelineConfig.h"
#include "model/SyncedLyrics.h"
#include "storage/AtomicFile.h"

#include <QCryptographicHash>
#include <QFileInfo>

#include <algorithm>
#include <memory>

namespace quillvane {

namespace {

// An engine missing from this build; the sentence says which.
class MissingEngineError : public Error {
public:
    explicit MissingEngineError(const QString &what)
        : Error(QStringLiteral("This build of Quillvane cannot %1.").arg(what))
    {
    }
};

MotionRenderer &rendererOf(const ProjectStore &store)
{
    if (!store.services().motion)
        throw MissingEngineError(QStringLiteral("render motion"));
    return *store.services().motion;
}

// One clip to be made: the chunk it belongs to and what it shows.
struct PlannedClip {
    QUuid chunkID;
    MotionClip clip;
};

// A fingerprint of everything a clip is made from: the still (its path, size and time), the
// motion, the frames and the title card. A clip whose file carries the same key is current.
QString keyOf(const MotionClip &clip)
{
    const QFileInfo still(clip.imagePath);
    const DepthFlowSettings &m = clip.settings;
    QStringList parts{QStringLiteral("clip1"), clip.imagePath, QString::number(still.size()),
                      QString::number(still.lastModified().toMSecsSinceEpoch()), QString::number(m.intensity, 'g', 17),
                      QString::number(m.zoom, 'g', 17), QString::number(m.fps), QString::number(clip.frameCount),
                      QString::number(clip.introFrames)};
    if (clip.frameCount == 0)
        parts.append(QString::number(m.durationSeconds, 'g', 17));
    if (clip.introFrames > 0)
        parts.append({clip.title, clip.artist});
    return QString::fromLatin1(
        QCryptographicHash::hash(parts.join(QChar(0x1F)).toUtf8(), QCryptographicHash::Sha256).toHex());
}

// The clips of the video in playback order. Following the song, one per chunk that is on
// screen, as long as its span, the first opening with the title card; in fixed-length timing
// one per chunk in index order.
QList<PlannedClip> plannedClips(const Project &project)
{
    const auto clipOf = [&project](const StoryboardChunk &chunk, qint64 frames, qint64 intro) {
        MotionClip clip{chunk.frame ? chunk.frame->localPath : QString(), project.motion, frames, intro, {}, {}, {}};
        if (intro > 0) {
            clip.title = project.title;
            clip.artist = project.artist;
        }
        clip.key = keyOf(clip);
        return clip;
    };
    QList<PlannedClip> clips;
    if (project.motion.clipTiming == ClipTiming::fixedLength) {
        for (const qsizetype position : playbackOrder(project.chunks))
            clips.append({project.chunks.at(position).id, clipOf(project.chunks.at(position), 0, 0)});
        return clips;
    }
    for (const ClipSlot &slot : clipSlots(project)) {
        clips.append({slot.chunkID, clipOf(*project.chunkWithID(slot.chunkID), slot.frameCount, slot.introFrames)});
    }
    return clips;
}

// Whether the chunk's clip file is whole and was made from exactly this request.
bool isCurrent(const ProjectStore &store, const PlannedClip &planned)
{
    const StoryboardChunk *chunk = store.project().chunkWithID(planned.chunkID);
    const QString path = store.media().clipPath(planned.chunkID);
    return chunk && chunk->frame && chunk->frame->motionClipPath == path && clipKey(path) == planned.clip.key;
}

// Learns the track's length when the document does not know it yet, and lays the chunks'
// spans over the song as it is now. A song that ends before any chunk starts is refused
// before anything changes.
void settleSpans(ProjectStore &store)
{
    Project changed = store.project();
    if (!(changed.audioDuration > 0) && !changed.audioPath.isEmpty())
        changed.audioDuration = probeAudioDuration(changed.audioPath);
    followSong(changed);
    if (changed.motion.clipTiming == ClipTiming::followSong && !changed.chunks.isEmpty()
        && clipSlots(changed).isEmpty())
        throw Error(QStringLiteral("Every chunk starts after the end of the track, so no frame would be on screen. "
                                   "Time the lyrics again against this track."));
    store.setProject(changed);
}

// Renders one clip and keeps its path in the chunk's frame; a chunk removed or unframed
// meanwhile is passed over.
QCoro::Task<> renderClip(ProjectStore &store, PlannedClip planned, std::function<void(double)> onProgress,
                         CancelToken cancel)
{
    const QString clipPath = store.media().clipPath(planned.chunkID);
    auto rendering = rendererOf(store).render(planned.clip, clipPath, std::move(onProgress), cancel);
    co_await rendering;
    cancel.throwIfCancelled();
    Project changed = store.project();
    StoryboardChunk *chunk = changed.chunkWithID(planned.chunkID);
    if (!chunk || !chunk->frame)
        co_return;
    chunk->frame->motionClipPath = clipPath;
    store.setProject(changed);
}

// Renders the clips that are not current, one after another, reporting their share of the
// frames through sink scaled into [0, share].
QCoro::Task<> renderStale(ProjectStore &store, QList<PlannedClip> planned, std::function<void(double)> sink,
                          double share, CancelToken cancel)
{
    QList<PlannedClip> stale;
    double frames = 0;
    for (const PlannedClip &clip : planned) {
        if (isCurrent(store, clip))
            continue;
        stale.append(clip);
        frames += double(std::max<qint64>(clip.clip.frameCount, 1));
    }
    double done = 0;
    for (const PlannedClip &clip : stale) {
        cancel.throwIfCancelled();
        const double weight = double(std::max<qint64>(clip.clip.frameCount, 1));
        auto onProgress = [sink, done, weight, frames, share](double part) {
            if (sink)
                sink(std::clamp(share * (done + part * weight) / frames, 0.0, 1.0));
        };
        auto rendering = renderClip(store, clip, onProgress, cancel);
        co_await rendering;
        done += weight;
    }
}

void touch(ProjectStore &store)
{
    Project changed = store.project();
    changed.updatedAt = now();
    store.setProject(changed);
}

} // namespace

QCoro::Task<> runRenderMotion(ProjectStore &store, CancelToken cancel)
{
    if (std::none_of(store.project().chunks.begin(), store.project().chunks.end(),
                     [](const StoryboardChunk &chunk) { return chunk.isAccepted(); }))
        throw PipelineError(PipelineError::Case::notReviewed);
    rendererOf(store);
    settleSpans(store);

    // What to render is taken now; the project may change while clips render.
    QList<PlannedClip> accepted;
    for (const PlannedClip &clip : plannedClips(store.project())) {
        if (const StoryboardChunk *chunk = store.project().chunkWithID(clip.chunkID); chunk && chunk->isAccepted())
            accepted.append(clip);
    }
    const auto sink = store.progressSink();
    auto rendering = renderStale(store, accepted, sink, 1.0, cancel);
    co_await rendering;
    sink(1.0);
    touch(store);
}

QCoro::Task<Done> startRenderMotion(ProjectStore &store, CancelToken cancel)
{
    return store.run(
        motionLabel, [&store](CancelToken token) { return runRenderMotion(store, std::move(token)); }, cancel);
}

QCoro::Task<QString> runExportVideo(ProjectStore &store, CancelToken cancel)
{
    if (!store.project().allChunksAccepted())
        throw PipelineError(PipelineError::Case::notReviewed);
    if (!store.services().exporter)
        throw MissingEngineError(QStringLiteral("export video"));
    rendererOf(store);
    settleSpans(store);

    // Only clips whose still, span or motion changed since they were made (or whose file is
    // gone) are rendered again; they take the first share of the progress.
    const QList<PlannedClip> planned = plannedClips(store.project());
    const bool rendering = std::any_of(planned.begin(), planned.end(),
                                       [&](const PlannedClip &clip) { return !isCurrent(store, clip); });
    const auto sink = store.progressSink();
    const double renderShare = rendering ? 0.8 : 0.0;
    auto renders = renderStale(store, planned, sink, renderShare, cancel);
    co_await renders;

    QStringList clips;
    for (const PlannedClip &clip : planned) {
        const StoryboardChunk *chunk = store.project().chunkWithID(clip.chunkID);
        if (chunk && chunk->frame && chunk->frame->motionClipPath)
            clips.append(*chunk->frame->motionClipPath);
    }
    const Project &project = store.project();
    const QString outputPath = store.media().exportPath(project);
    const std::optional<QString> audioPath
        = project.audioPath.isEmpty() ? std::nullopt : std::optional<QString>(project.audioPath);
    auto exportProgress = [sink, renderShare](double part) { sink(renderShare + (1 - renderShare) * part); };
    auto exporting = store.services().exporter->exportVideo(clips, audioPath, project.exportSettings, outputPath,
                                                            exportProgress, cancel);
    const QString written = co_await exporting;
    cancel.throwIfCancelled();
    if (store.project().exportSettings.subtitles && !store.project().transcript.isEmpty()) {
        const QString base = written.left(written.size() - QFileInfo(written).suffix().size());
        writeLyricsFile(store.project(), base + QStringLiteral("srt"));
        writeLyricsFile(store.project(), base + QStringLiteral("lrc"));
    }
    touch(store);
    co_return written;
}

void writeLyricsFile(const Project &project, const QString &path)
{
    const QString name = QFileInfo(path).fileName();
    const QString format = syncedLyricsFormat(name);
    if (format.isEmpty())
        throw Error(QStringLiteral("%1 is not a lyrics file name Quillvane can write: end it in .srt or .lrc.").arg(name));
    if (project.transcript.isEmpty())
        throw Error(QStringLiteral("There are no timed lyrics to write yet. Time the lyrics first."));
    const QString text = format == QLatin1String("srt") ? srtText(project.transcript)
                                                        : lrcText(project.transcript, project.title, project.artist);
    if (const auto failure = replaceFileAtomically(path, text.toUtf8()))
        throw Error(QStringLiteral("Quillvane couldn’t write %1 (%2).").arg(name, *failure));
}

QCoro::Task<Outcome<QString>> startExportVideo(ProjectStore &store, CancelToken cancel)
{
    return store.run(
        exportLabel, [&store](CancelToken token) { return runExportVideo(store, std::move(token)); }, cancel);
}

} // namespace quillvane
