#include "ui/OutputBridges.h"

#include "model/ClipSpans.h"
#include "pipeline/MediaOperations.h"
#include "ui/BridgeSupport.h"

#include <QFileInfo>
#include <QPointer>

#include <algorithm>
#include <cmath>

namespace quillvane::ui {

namespace {

struct ScheduledClip {
    QUuid chunkID;
    double start = 0;
    double end = 0;
};

// Where each clip sits in the video, as the renderer and the exporter lay them out.
QList<ScheduledClip> schedule(const Project &project)
{
    const ClipSchedule video = videoSchedule(project);
    QList<ScheduledClip> clips;
    for (const ClipSlot &clip : video.clips)
        clips.append({clip.chunkID, video.seconds(clip.firstFrame), video.seconds(clip.firstFrame + clip.frameCount)});
    return clips;
}

// The whole video's length: its clips once there are any, else the song (or its lines).
double videoLength(const Project &project)
{
    if (const ClipSchedule video = videoSchedule(project); !video.clips.isEmpty())
        return video.seconds(video.frameCount());
    if (project.motion.clipTiming == ClipTiming::followSong && project.audioDuration > 0)
        return project.audioDuration;
    double latest = 0;
    for (const TranscriptSegment &segment : project.transcript)
        latest = std::max(latest, segment.end);
    return latest;
}

QCoro::Task<> exportAndTell(ProjectStore &store, QPointer<ExportBridge> bridge)
{
    auto exporting = startExportVideo(store);
    const Outcome<QString> exported = co_await exporting;
    if (exported.isDone() && bridge)
        Q_EMIT bridge->exported(QUrl::fromLocalFile(exported.value()));
}

} // namespace

// Motion ---------------------------------------------------------------------------------

MotionBridge::MotionBridge(ProjectStore &store, QObject *parent)
    : QObject(parent)
    , m_store(store)
{
    refresh();
    connect(&store.document(), &ProjectDocument::projectChanged, this, &MotionBridge::refresh);
}

void MotionBridge::refresh()
{
    const Project &project = m_store.project();
    const DepthFlowSettings &motion = project.motion;
    const auto rendered = std::count_if(project.chunks.begin(), project.chunks.end(), [](const StoryboardChunk &c) {
        return c.frame && c.frame->motionClipPath;
    });
    follow(this, m_motion.intensity, motion.intensity, &MotionBridge::intensityChanged);
    follow(this, m_motion.zoom, motion.zoom, &MotionBridge::zoomChanged);
    follow(this, m_motion.durationSeconds, motion.durationSeconds, &MotionBridge::durationChanged);
    follow(this, m_motion.fps, motion.fps, &MotionBridge::fpsChanged);
    follow(this, m_motion.loop, motion.loop, &MotionBridge::loopChanged);
    follow(this, m_motion.clipTiming, motion.clipTiming, &MotionBridge::followsSongChanged);
    follow(this, m_renderedCount, int(rendered), &MotionBridge::renderedCountChanged);
    follow(this, m_motion.transition, motion.transition, &MotionBridge::crossfadeChanged);
}

void MotionBridge::editMotion(const std::function<void(DepthFlowSettings &)> &edit)
{
    m_store.editProject([&](Project &project) { edit(project.motion); });
}

void MotionBridge::setIntensity(double value)
{
    editMotion([&](DepthFlowSettings &m) { m.intensity = value; });
}

void MotionBridge::setZoom(double value)
{
    editMotion([&](DepthFlowSettings &m) { m.zoom = value; });
}

void MotionBridge::setDuration(double value)
{
    editMotion([&](DepthFlowSettings &m) { m.durationSeconds = value; });
}

void MotionBridge::setFps(int value)
{
    editMotion([&](DepthFlowSettings &m) { m.fps = value; });
}

void MotionBridge::setLoop(bool value)
{
    editMotion([&](DepthFlowSettings &m) { m.loop = value; });
}

void MotionBridge::setFollowsSong(bool value)
{
    editMotion([&](DepthFlowSettings &m) { m.clipTiming = value ? ClipTiming::followSong : ClipTiming::fixedLength; });
}

void MotionBridge::setCrossfade(bool value)
{
    editMotion([&](DepthFlowSettings &m) { m.transition = value ? ClipTransition::crossfade : ClipTransition::cut; });
}

void MotionBridge::renderMotion()
{
    launch(this, startRenderMotion(m_store));
}

// Export ---------------------------------------------------------------------------------

ExportBridge::ExportBridge(ProjectStore &store, QObject *parent)
    : QObject(parent)
    , m_store(store)
{
    refresh();
    connect(&store.document(), &ProjectDocument::projectChanged, this, &ExportBridge::refresh);
}

void ExportBridge::refresh()
{
    const Project &project = m_store.project();
    const ExportSettings &settings = project.exportSettings;
    follow(this, m_settings.resolution, settings.resolution, &ExportBridge::resolutionChanged);
    follow(this, m_settings.container, settings.container, &ExportBridge::containerChanged);
    follow(this, m_settings.includeOriginalAudio, settings.includeOriginalAudio, &ExportBridge::includeAudioChanged);
    follow(this, m_settings.subtitles, settings.subtitles, &ExportBridge::subtitlesChanged);
    follow(this, m_settings.destinationFolder, settings.destinationFolder, &ExportBridge::destinationChanged);
    follow(this, m_projectDuration, videoLength(project), &ExportBridge::projectDurationChanged);
    follow(this, m_settings.shape, settings.shape, &ExportBridge::shapeChanged);
}

void ExportBridge::editExport(const std::function<void(ExportSettings &)> &edit)
{
    m_store.editProject([&](Project &project) { edit(project.exportSettings); });
}

void ExportBridge::setResolution(int index)
{
    const auto all = allExportResolutions();
    if (index >= 0 && index < all.size())
        editExport([&](ExportSettings &e) { e.resolution = all[index]; });
}

void ExportBridge::setContainer(int index)
{
    const auto all = allExportContainers();
    if (index >= 0 && index < all.size())
        editExport([&](ExportSettings &e) { e.container = all[index]; });
}

void ExportBridge::setIncludeAudio(bool value)
{
    editExport([&](ExportSettings &e) { e.includeOriginalAudio = value; });
}

void ExportBridge::setSubtitles(bool value)
{
    editExport([&](ExportSettings &e) { e.subtitles = value; });
}

void ExportBridge::setDestination(const QString &folder)
{
    const QString path = pathFrom(folder);
    editExport([&](ExportSettings &e) { e.destinationFolder = path; });
}

QStringList ExportBridge::resolutionLabels() const
{
    QStringList labels;
    for (ExportResolution resolution : allExportResolutions())
        labels.append(textValue(resolution));
    return labels;
}

QStringList ExportBridge::shapeLabels() const
{
    const QStringList kinds{QStringLiteral("wide"), QStringLiteral("tall"), QStringLiteral("square")};
    QStringList labels;
    for (VideoShape shape : allVideoShapes())
        labels.append(QStringLiteral("%1 (%2)").arg(textValue(shape), kinds.value(int(shape))));
    return labels;
}

void ExportBridge::changeShape(int index)
{
    const auto all = allVideoShapes();
    if (index >= 0 && index < all.size())
        setVideoShape(m_store.document(), all[index]);
}

QStringList ExportBridge::containerLabels() const
{
    QStringList labels;
    for (ExportContainer container : allExportContainers())
        labels.append(textValue(container));
    return labels;
}

QString ExportBridge::chunkAt(double seconds) const
{
    const QList<ScheduledClip> clips = schedule(m_store.project());
    for (const ScheduledClip &clip : clips) {
        if (seconds < clip.end)
            return uuidText(clip.chunkID);
    }
    return clips.isEmpty() ? QString() : uuidText(clips.last().chunkID);
}

double ExportBridge::clipStart(const QString &chunkId) const
{
    for (const ScheduledClip &clip : schedule(m_store.project())) {
        if (uuidText(clip.chunkID) == chunkId)
            return clip.start;
    }
    return 0;
}

bool ExportBridge::fileExists(const QString &url)
{
    return !url.isEmpty() && QFileInfo::exists(pathFrom(url));
}

void ExportBridge::exportVideo()
{
    launch(this, exportAndTell(m_store, this));
}

} // namespace quillvane::ui
