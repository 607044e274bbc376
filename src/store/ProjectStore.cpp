#include "store/ProjectStore.h"

#include "model/ClipSpans.h"
#include "model/PipelineConfig.h"
#include "store/SampleProject.h"

#include <QCoreApplication>
#include <QPointer>
#include <QThread>

#include <algorithm>
#include <cmath>

namespace quillvane {

namespace {

QString key(const char *name) { return QString::fromUtf8(name); }

} // namespace

ProjectStore::ProjectStore(ProjectLibrary library, std::optional<Project> project, PipelineServices services,
                           StoreOptions options, QObject *parent)
    : QObject(parent)
    , m_library(std::move(library))
    , m_services(std::move(services))
    , m_options(options)
    , m_history(options.undoMergeWindow)
{
    if (!project)
        project = m_library.loadLastProject();
    m_project = project ? std::move(*project) : sampleProject();
    // A project saved before its clips followed the song, or whose times were edited outside
    // the app, opens with the spans its storyboard, preview, motion and export all read.
    if (m_project.motion.clipTiming == ClipTiming::followSong)
        followSong(m_project);

    const Preferences &prefs = m_library.preferences();
    m_generationModel = prefs.string(key(preferenceKeys::generationModel)).value_or(m_services.config.generationModel);
    m_editWorkflow = prefs.string(key(preferenceKeys::editWorkflow)).value_or(m_services.config.editWorkflow);
    // An unknown stored name reads as the default.
    m_generationBackend = backendNamed(prefs.string(key(preferenceKeys::generationBackend)).value_or(QString()))
                              .value_or(Backend::service);
    m_timingMethod = timingMethodNamed(prefs.string(key(preferenceKeys::timingMethod)).value_or(QString()))
                         .value_or(TimingMethod::words);
    const auto storedProxy = prefs.string(key(preferenceKeys::proxyBaseURL));
    m_proxyBaseURL = normaliseProxyURL(storedProxy, m_services.config.proxyBaseURL);
    if (storedProxy && *storedProxy != m_proxyBaseURL)
        prefs.setString(key(preferenceKeys::proxyBaseURL), m_proxyBaseURL);

    // The automatic save: every change restarts the quiet period, so a burst saves once.
    // It is armed at start too, so the opened project is written (and becomes the last
    // project) even when nothing changes.
    m_saveTimer.setSingleShot(true);
    m_saveTimer.setInterval(options.saveDelay);
    connect(&m_saveTimer, &QTimer::timeout, this, &ProjectStore::saveNow);
    connect(this, &ProjectStore::projectChanged, &m_saveTimer, qOverload<>(&QTimer::start));
    m_saveTimer.start();
}

ProjectStore::~ProjectStore() = default;

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

void ProjectStore::setProject(const Project &project)
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

bool ProjectStore::undo()
{
    return !m_runningTask && restore(m_history.undo(m_project));
}

bool ProjectStore::redo()
{
    return !m_runningTask && restore(m_history.redo(m_project));
}

bool ProjectStore::restore(const std::optional<Project> &state)
{
    if (!state)
        return false;
    m_restoring = true;
    setProject(*state);
    m_restoring = false;
    Q_EMIT historyChanged();
    return true;
}

void ProjectStore::editProject(const std::function<void(Project &)> &edit)
{
    Project changed = m_project;
    edit(changed);
    setProject(changed);
}

void ProjectStore::setSelectedStage(PipelineStage stage)
{
    if (stage == m_selectedStage)
        return;
    m_selectedStage = stage;
    Q_EMIT selectedStageChanged();
    setLastError(std::nullopt);
}

void ProjectStore::setSelectedChunkID(const std::optional<QUuid> &chunkID)
{
    if (chunkID == m_selectedChunkID)
        return;
    m_selectedChunkID = chunkID;
    Q_EMIT selectedChunkIDChanged();
}

void ProjectStore::setRunningTask(const std::optional<QString> &label)
{
    if (label == m_runningTask)
        return;
    m_runningTask = label;
    Q_EMIT runningTaskChanged();
}

void ProjectStore::setTaskProgress(std::optional<double> fraction)
{
    if (fraction && std::isnan(*fraction))
        fraction.reset();
    if (fraction)
        fraction = std::clamp(*fraction, 0.0, 1.0);
    if (fraction == m_taskProgress)
        return;
    m_taskProgress = fraction;
    Q_EMIT taskProgressChanged();
}

void ProjectStore::setLastError(const std::optional<QString> &message)
{
    if (message == m_lastError)
        return;
    m_lastError = message;
    Q_EMIT lastErrorChanged();
}

void ProjectStore::storeSetting(const char *preferenceKey, QString &field, const QString &value,
                                void (ProjectStore::*changed)())
{
    m_library.preferences().setString(key(preferenceKey), value);
    if (value == field)
        return;
    field = value;
    Q_EMIT(this->*changed)();
}

void ProjectStore::setGenerationModel(const QString &value)
{
    storeSetting(preferenceKeys::generationModel, m_generationModel, value, &ProjectStore::generationModelChanged);
}

void ProjectStore::setGenerationBackend(Backend backend)
{
    m_library.preferences().setString(key(preferenceKeys::generationBackend), settingName(backend));
    if (backend == m_generationBackend)
        return;
    m_generationBackend = backend;
    Q_EMIT generationBackendChanged();
}

void ProjectStore::setTimingMethod(TimingMethod method)
{
    m_library.preferences().setString(key(preferenceKeys::timingMethod), settingName(method));
    if (method == m_timingMethod)
        return;
    m_timingMethod = method;
    Q_EMIT timingMethodChanged();
}

void ProjectStore::setEditWorkflow(const QString &value)
{
    storeSetting(preferenceKeys::editWorkflow, m_editWorkflow, value, &ProjectStore::editWorkflowChanged);
}

void ProjectStore::setProxyBaseURL(const QString &value)
{
    storeSetting(preferenceKeys::proxyBaseURL, m_proxyBaseURL,
                 normaliseProxyURL(value, m_services.config.proxyBaseURL), &ProjectStore::proxyBaseURLChanged);
}

QUrl ProjectStore::generationBaseURL() const
{
    if (m_serviceURLOverride)
        return *m_serviceURLOverride;
    const QUrl url(normaliseProxyURL(m_proxyBaseURL, m_services.config.proxyBaseURL), QUrl::StrictMode);
    if (url.isValid())
        return url;
    return QUrl(QString::fromUtf8(deployment::defaultProxyURL));
}

void ProjectStore::beginRun(const QString &label, const CancelToken &cancel)
{
    m_activeRuns.push_back(cancel);
    m_operation = ++m_operationsStarted;
    setRunningTask(label);
    setTaskProgress(std::nullopt);
    setLastError(std::nullopt);
}

void ProjectStore::endRun(const CancelToken &cancel, const std::optional<QString> &failure)
{
    // One entry: a sequence may hold the same token for longer.
    if (const auto entry = std::find(m_activeRuns.begin(), m_activeRuns.end(), cancel); entry != m_activeRuns.end())
        m_activeRuns.erase(entry);
    if (m_activeRuns.empty())
        m_operation = 0;
    if (failure)
        setLastError(failure);
    setRunningTask(std::nullopt);
    setTaskProgress(std::nullopt);
}

void ProjectStore::cancelRunningTasks()
{
    for (const CancelToken &token : m_activeRuns)
        token.cancel();
}

std::shared_ptr<void> ProjectStore::holdCancel(const CancelToken &cancel)
{
    m_activeRuns.push_back(cancel);
    const QPointer<ProjectStore> self(this);
    return std::shared_ptr<void>(nullptr, [self, cancel](void *) {
        if (!self)
            return;
        if (const auto entry = std::find(self->m_activeRuns.begin(), self->m_activeRuns.end(), cancel);
            entry != self->m_activeRuns.end())
            self->m_activeRuns.erase(entry);
    });
}

std::optional<QUuid> ProjectStore::addCharacter(const QString &name)
{
    const QString trimmed = name.trimmed();
    if (trimmed.isEmpty())
        return std::nullopt;
    Project changed = m_project;
    CharacterReference character;
    character.name = trimmed;
    changed.characters.append(character);
    changed.updatedAt = now();
    setProject(changed);
    return character.id;
}

void ProjectStore::addReferenceImages(const QUuid &characterID, const QStringList &paths)
{
    Project changed = m_project;
    CharacterReference *character = changed.characterWithID(characterID);
    if (!character)
        return;
    character->referenceImagePaths.append(paths);
    setProject(changed);
}

bool ProjectStore::removeCharacter(const QUuid &characterID)
{
    Project changed = m_project;
    const auto removed = std::remove_if(changed.characters.begin(), changed.characters.end(),
                                        [&characterID](const auto &c) { return c.id == characterID; });
    if (removed == changed.characters.end())
        return false;
    changed.characters.erase(removed, changed.characters.end());
    for (StoryboardChunk &chunk : changed.chunks) {
        if (chunk.characterID == characterID)
            chunk.characterID.reset();
    }
    changed.updatedAt = now();
    setProject(changed);
    return true;
}

bool ProjectStore::removeReferenceImage(const QUuid &characterID, const QString &path)
{
    Project changed = m_project;
    CharacterReference *character = changed.characterWithID(characterID);
    if (!character || !character->referenceImagePaths.removeOne(path))
        return false;
    changed.updatedAt = now();
    setProject(changed);
    return true;
}

void ProjectStore::setLyrics(const QString &text)
{
    if (text == m_project.rawLyrics)
        return;
    editProject([&text](Project &project) {
        project.rawLyrics = text;
        project.lyricsSource = LyricsSource::manual;
        project.transcript.clear();
    });
}

Done ProjectStore::editSegment(qsizetype index, const std::optional<QString> &text,
                               const std::optional<double> &start, const std::optional<double> &end)
{
    const QList<TranscriptSegment> &lines = m_project.transcript;
    if (index < 0 || index >= lines.size())
        return Done::failed(QStringLiteral("There is no line %1; the transcript has %2.").arg(index + 1).arg(lines.size()));
    const TranscriptSegment &line = lines.at(index);
    const double newStart = start.value_or(line.start);
    const double newEnd = end.value_or(line.end);
    const auto seconds = [](double value) { return QString::number(value, 'f', 2); };
    if (!std::isfinite(newStart) || !std::isfinite(newEnd) || newStart < 0)
        return Done::failed(QStringLiteral("Line %1 cannot start before the song.").arg(index + 1));
    if (start && index > 0 && newStart < lines.at(index - 1).start)
        return Done::failed(QStringLiteral("Line %1 cannot start before line %2 (at %3 s).")
                                .arg(index + 1)
                                .arg(index)
                                .arg(seconds(lines.at(index - 1).start)));
    if (start && index + 1 < lines.size() && newStart > lines.at(index + 1).start)
        return Done::failed(QStringLiteral("Line %1 cannot start after line %2 (at %3 s).")
                                .arg(index + 1)
                                .arg(index + 2)
                                .arg(seconds(lines.at(index + 1).start)));
    if (newEnd < newStart)
        return Done::failed(QStringLiteral("Line %1 cannot end (%2 s) before it starts (%3 s).")
                                .arg(index + 1)
                                .arg(seconds(newEnd), seconds(newStart)));
    editProject([&](Project &project) {
        TranscriptSegment &segment = project.transcript[index];
        if (text)
            segment.text = *text;
        segment.start = newStart;
        segment.end = newEnd;
    });
    return Done::done();
}

Done ProjectStore::shiftTranscript(double seconds)
{
    if (m_project.transcript.isEmpty())
        return Done::failed(QStringLiteral("There are no timed lines to shift; align the timing first."));
    if (!std::isfinite(seconds) || m_project.transcript.first().start + seconds < 0)
        return Done::failed(QStringLiteral("Shifting by %1 s would move the first line before the start of the song.")
                                .arg(QString::number(seconds, 'f', 2)));
    editProject([seconds](Project &project) {
        for (TranscriptSegment &segment : project.transcript) {
            segment.start += seconds;
            segment.end += seconds;
            for (TimedWord &word : segment.words) {
                word.start = std::max(0.0, word.start + seconds);
                word.end = std::max(0.0, word.end + seconds);
            }
        }
    });
    return Done::done();
}

namespace {

// Applies an engine's value on the UI thread: at once when called there (a coroutine that
// says a line just before its run ends shows it before the run clears the task line), else
// posted there without waiting.
void onUiThread(std::function<void()> apply)
{
    QCoreApplication *application = QCoreApplication::instance();
    if (QThread::currentThread() == application->thread())
        apply();
    else
        QMetaObject::invokeMethod(application, std::move(apply), Qt::QueuedConnection);
}

} // namespace

std::function<void(double)> ProjectStore::progressSink()
{
    QPointer<ProjectStore> self(this);
    return [self](double fraction) {
        onUiThread([self, fraction] {
            if (self)
                self->setTaskProgress(fraction);
        });
    };
}

std::function<void(QString)> ProjectStore::statusSink()
{
    QPointer<ProjectStore> self(this);
    return [self](QString status) {
        onUiThread([self, status = std::move(status)] {
            if (self)
                self->setRunningTask(status);
        });
    };
}

void ProjectStore::flushPendingSave()
{
    if (!m_saveTimer.isActive())
        return;
    m_library.save(m_project);
    m_saveTimer.stop();
}

void ProjectStore::saveNow()
{
    try {
        m_library.save(m_project);
    } catch (const Error &) {
        // The previous document is still whole; the next change tries again.
    }
}

} // namespace quillvane
