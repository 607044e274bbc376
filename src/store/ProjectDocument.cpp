#include "store/ProjectDocument.h"

#include "model/ClipSpans.h"
#include "store/SampleProject.h"

namespace quillvane {

namespace {

// What the chunks' spans are worked out from: a new storyboard, the transcript's times and
// words, the track's length and the clip timing settings.
bool spansMayHaveMoved(const Project &before, const Project &after)
{
    if (after.motion.clipTiming != ClipTiming::followSong)
        return false;
    const auto ids = [](const Project &project) {
        QList<QUuid> list;
        for (const StoryboardChunk &chunk : project.chunks)
            list.append(chunk.id);
        return list;
    };
    return before.motion.clipTiming != after.motion.clipTiming || before.motion.fps != after.motion.fps
        || before.audioDuration != after.audioDuration || before.transcript != after.transcript
        || ids(before) != ids(after);
}

} // namespace

ProjectDocument::ProjectDocument(ProjectLibrary library, std::optional<Project> project,
                                 std::chrono::milliseconds saveDelay, std::chrono::milliseconds undoMergeWindow,
                                 QObject *parent)
    : QObject(parent)
    , m_library(std::move(library))
    , m_history(undoMergeWindow)
{
    if (!project)
        project = m_library.loadLastProject();
    m_project = project ? std::move(*project) : sampleProject();
    // A project saved before its clips followed the song, or whose times were edited outside
    // the app, opens with the spans its storyboard, preview, motion and export all read.
    if (m_project.motion.clipTiming == ClipTiming::followSong)
        followSong(m_project);

    // Every change restarts the quiet period, so a burst saves once.
    m_saveTimer.setSingleShot(true);
    m_saveTimer.setInterval(saveDelay);
    connect(&m_saveTimer, &QTimer::timeout, this, &ProjectDocument::saveNow);
    connect(this, &ProjectDocument::projectChanged, &m_saveTimer, qOverload<>(&QTimer::start));
    m_saveTimer.start();
}

ProjectDocument::~ProjectDocument() = default;

void ProjectDocument::setProject(const Project &project)
{
    if (project == m_project)
        return;
    Project changed = project;
    if (spansMayHaveMoved(m_project, changed)) {
        followSong(changed);
        if (changed == m_project)
            return;
    }
    if (!m_restoring)
        m_history.record(m_project, changed, m_operation);
    m_project = std::move(changed);
    Q_EMIT projectChanged();
    Q_EMIT historyChanged();
}

void ProjectDocument::editProject(const std::function<void(Project &)> &edit)
{
    Project changed = m_project;
    edit(changed);
    setProject(changed);
}

bool ProjectDocument::undo()
{
    return restore(m_history.undo(m_project));
}

bool ProjectDocument::redo()
{
    return restore(m_history.redo(m_project));
}

bool ProjectDocument::restore(const std::optional<Project> &state)
{
    if (!state)
        return false;
    m_restoring = true;
    setProject(*state);
    m_restoring = false;
    Q_EMIT historyChanged();
    return true;
}

void ProjectDocument::flushPendingSave()
{
    if (!m_saveTimer.isActive())
        return;
    m_library.save(m_project);
    m_saveTimer.stop();
}

void ProjectDocument::saveNow()
{
    try {
        m_library.save(m_project);
    } catch (const Error &) {
        // The previous document is still whole; the next change tries again.
    }
}

} // namespace quillvane
