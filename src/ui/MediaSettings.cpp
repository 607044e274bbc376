#include "ui/MediaSettings.h"

#include "model/ClipSpans.h"
#include "model/Text.h"

#include <QFileInfo>

#include <algorithm>
#include <cmath>

namespace quillvane::ui {

MediaSettings::MediaSettings(ProjectStore &store, QObject *parent)
    : QObject(parent)
    , m_store(store)
{
    connect(&store.document(), &ProjectDocument::projectChanged, this, &MediaSettings::changed);
}

void MediaSettings::editMotion(const std::function<void(DepthFlowSettings &)> &edit)
{
    m_store.editProject([&](Project &project) { edit(project.motion); });
}

void MediaSettings::editExport(const std::function<void(ExportSettings &)> &edit)
{
    m_store.editProject([&](Project &project) { edit(project.exportSettings); });
}

void MediaSettings::setIntensity(double value)
{
    editMotion([&](DepthFlowSettings &m) { m.intensity = value; });
}

void MediaSettings::setZoom(double value)
{
    editMotion([&](DepthFlowSettings &m) { m.zoom = value; });
}

void MediaSettings::setDuration(double value)
{
    editMotion([&](DepthFlowSettings &m) { m.durationSeconds = value; });
}

void MediaSettings::setFps(int value)
{
    editMotion([&](DepthFlowSettings &m) { m.fps = value; });
}

void MediaSettings::setLoop(bool value)
{
    editMotion([&](DepthFlowSettings &m) { m.loop = value; });
}

void MediaSettings::setFollowsSong(bool value)
{
    editMotion([&](DepthFlowSettings &m) { m.clipTiming = value ? ClipTiming::followSong : ClipTiming::fixedLength; });
}

QString MediaSettings::chunkAt(double seconds) const
{
    const ClipSchedule schedule = videoSchedule(m_store.project());
    for (const ClipSlot &clip : schedule.clips) {
        if (seconds < schedule.seconds(clip.firstFrame + clip.frameCount))
            return uuidText(clip.chunkID);
    }
    return schedule.clips.isEmpty() ? QString() : uuidText(schedule.clips.last().chunkID);
}

double MediaSettings::clipStart(const QString &chunkId) const
{
    const ClipSchedule schedule = videoSchedule(m_store.project());
    for (const ClipSlot &clip : schedule.clips) {
        if (uuidText(clip.chunkID) == chunkId)
            return schedule.seconds(clip.firstFrame);
    }
    return 0;
}

void MediaSettings::setResolution(int index)
{
    const auto all = allExportResolutions();
    if (index >= 0 && index < all.size())
        editExport([&](ExportSettings &e) { e.resolution = all[index]; });
}

void MediaSettings::setContainer(int index)
{
    const auto all = allExportContainers();
    if (index >= 0 && index < all.size())
        editExport([&](ExportSettings &e) { e.container = all[index]; });
}

void MediaSettings::setIncludeAudio(bool value)
{
    editExport([&](ExportSettings &e) { e.includeOriginalAudio = value; });
}

void MediaSettings::setSubtitles(bool value)
{
    editExport([&](ExportSettings &e) { e.subtitles = value; });
}

void MediaSettings::setDestination(const QString &folder)
{
    const QUrl url(folder);
    const QString path = url.isLocalFile() ? url.toLocalFile() : folder;
    editExport([&](ExportSettings &e) { e.destinationFolder = path; });
}

QStringList MediaSettings::resolutionLabels() const
{
    QStringList labels;
    for (ExportResolution resolution : allExportResolutions())
        labels.append(textValue(resolution));
    return labels;
}

QStringList MediaSettings::containerLabels() const
{
    QStringList labels;
    for (ExportContainer container : allExportContainers())
        labels.append(textValue(container));
    return labels;
}

int MediaSettings::renderedCount() const
{
    const auto &chunks = m_store.project().chunks;
    return int(std::count_if(chunks.begin(), chunks.end(),
                             [](const StoryboardChunk &c) { return c.frame && c.frame->motionClipPath; }));
}

double MediaSettings::projectDuration() const
{
    const Project &project = m_store.project();
    if (const ClipSchedule schedule = videoSchedule(project); !schedule.clips.isEmpty())
        return schedule.seconds(schedule.frameCount());
    if (followsSong() && project.audioDuration > 0)
        return project.audioDuration;
    double latest = 0;
    for (const TranscriptSegment &segment : project.transcript)
        latest = std::max(latest, segment.end);
    return latest;
}

QString MediaSettings::audioURL() const
{
    const QString &path = m_store.project().audioPath;
    return path.isEmpty() ? QString() : QUrl::fromLocalFile(path).toString();
}

QString MediaSettings::chunkTime(double seconds)
{
    return hundredthsClock(seconds);
}

QString MediaSettings::durationTime(double seconds)
{
    const long long whole = (long long)std::trunc(seconds);
    return QString::asprintf("%lld:%02lld", whole / 60, whole % 60);
}

bool MediaSettings::fileExists(const QString &url)
{
    const QUrl parsed(url);
    return !url.isEmpty() && QFileInfo::exists(parsed.isLocalFile() ? parsed.toLocalFile() : url);
}

} // namespace quillvane::ui
