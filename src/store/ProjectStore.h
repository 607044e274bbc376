#pragma once

#include "model/PipelineStage.h"
#include "model/Records.h"
#include "storage/ProjectLibrary.h"
#include "model/Error.h"
#include "store/Cancellation.h"
#include "store/Outcome.h"
#include "store/PipelineServices.h"
#include "store/ProjectHistory.h"
#include "store/TaskReport.h"

#include <QCoro/QCoroTask>
#include <QObject>
#include <QPointer>
#include <QTimer>
#include <QUrl>

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <type_traits>
#include <vector>

namespace quillvane {

namespace detail {
template <typename Task>
struct TaskValue;
template <typename T>
struct TaskValue<QCoro::Task<T>> {
    using type = T;
};
template <>
struct TaskValue<QCoro::Task<void>> {
    using type = std::monostate;
};
} // namespace detail

// The value an operation's task ends with (std::monostate for a task of nothing).
template <typename Operation>
using RunValue = typename detail::TaskValue<std::invoke_result_t<Operation, CancelToken>>::type;

struct StoreOptions {
    // Quiet time after the last change before the project is written.
    std::chrono::milliseconds saveDelay{1000};
    // Pause between two status polls of a generation job.
    std::chrono::milliseconds generationPollInterval{1500};
    // How long one request to the generation service may stall before it fails.
    std::chrono::milliseconds generationTimeout{60000};
    // Edits of the same part of the project closer together than this undo as one step.
    std::chrono::milliseconds undoMergeWindow{1000};
};

// The one controller of the application: owns the open project, the selected stage, the
// state of the running task, the last error and the three generation settings. Every screen
// observes it and every user action is one call on it. Lives on the UI thread; engines hand
// their results and progress back to that thread before any field here is touched.
//
// Every change of the project is all or nothing: a mutator works on a copy and assigns it
// back whole when it is done, so a mutator (or an operation that fails or is cancelled
// part-way) either makes its whole change or leaves the project as it was. Every setter
// notifies only when the value really changes. Every change of the project is saved after
// StoreOptions::saveDelay of quiet; a failed save leaves the previous document whole and
// the next change tries again.
class ProjectStore : public QObject {
    Q_OBJECT

public:
    // Start-up: the given project, else the library's last saved project, else the sample;
    // then the three settings from the preferences (a stored proxy URL that normalises to
    // something else is written back), and a first save after saveDelay.
    explicit ProjectStore(ProjectLibrary library, std::optional<Project> project = std::nullopt,
                          PipelineServices services = {}, StoreOptions options = {}, QObject *parent = nullptr);
    ~ProjectStore() override;

    const Project &project() const { return m_project; }
    // Replaces the project as a whole value (how operations hand back a finished change).
    void setProject(const Project &project);
    // An edit made through a screen binding or the CLI; does not touch updatedAt.
    void editProject(const std::function<void(Project &)> &edit);

    // Every change of the project by an edit or an operation can be undone and redone for as
    // long as the store lives (see ProjectHistory for what makes one step). Refused (false,
    // nothing changes) while a task runs or when there is nothing to go back or forth to.
    bool undo();
    bool redo();
    bool canUndo() const { return m_history.canUndo(); }
    bool canRedo() const { return m_history.canRedo(); }

    PipelineStage selectedStage() const { return m_selectedStage; }
    // Selecting a different stage clears lastError; selecting the same one changes nothing.
    void setSelectedStage(PipelineStage stage);
    std::optional<QUuid> selectedChunkID() const { return m_selectedChunkID; }
    void setSelectedChunkID(const std::optional<QUuid> &chunkID);

    std::optional<QString> runningTask() const { return m_runningTask; }
    void setRunningTask(const std::optional<QString> &label);
    std::optional<double> taskProgress() const { return m_taskProgress; }
    // Clamped to 0...1; a value that is not a number means unknown.
    void setTaskProgress(std::optional<double> fraction);
    std::optional<QString> lastError() const { return m_lastError; }
    void setLastError(const std::optional<QString> &message);
    void dismissError() { setLastError(std::nullopt); }
    // A precondition the person can fix before a task starts: the sentence becomes the banner
    // and the returned failure, and no task runs.
    Done refuse(const QString &sentence)
    {
        setLastError(sentence);
        return Done::failed(sentence);
    }

    QString generationModel() const { return m_generationModel; }
    void setGenerationModel(const QString &value);
    QString editWorkflow() const { return m_editWorkflow; }
    void setEditWorkflow(const QString &value);
    QString proxyBaseURL() const { return m_proxyBaseURL; }
    // Stores the normalised form of value.
    void setProxyBaseURL(const QString &value);
    // Where generation runs; kept in the preferences.
    Backend generationBackend() const { return m_generationBackend; }
    void setGenerationBackend(Backend backend);
    // How the timing run places lyric lines; kept in the preferences.
    TimingMethod timingMethod() const { return m_timingMethod; }
    void setTimingMethod(TimingMethod method);
    // Base URL of the generation client made for the next operation: the override when one
    // is set, else the normalised setting (the built-in default when that does not parse).
    QUrl generationBaseURL() const;
    // A base URL used as given for this run only, never stored (a self-hosted or local
    // service; http is allowed). Nothing returns to the setting.
    void setServiceURLOverride(const std::optional<QUrl> &url) { m_serviceURLOverride = url; }

    const PipelineServices &services() const { return m_services; }
    const StoreOptions &options() const { return m_options; }
    // The built-in studio answers at once, so it is polled far more often than the service.
    void setGenerationPollInterval(std::chrono::milliseconds interval) { m_options.generationPollInterval = interval; }
    void setGenerationTimeout(std::chrono::milliseconds timeout) { m_options.generationTimeout = timeout; }
    const ProjectLibrary &library() const { return m_library; }
    MediaLibrary media() const { return m_library.mediaFor(m_project.id); }
    StageStatus status(PipelineStage stage) const { return stageStatus(m_project, stage); }

    // The wrapper of every long operation: shows label as the running task, clears progress
    // and the last error, awaits operation(cancel), and clears the task when it ends. Returns
    // what happened: done with the operation's value, failed with its sentence (which also
    // becomes lastError for the banner) or cancelled (silently). Never throws. A sequence of
    // runs passes its own token to each, so one cancel stops the run and the sequence.
    template <typename Operation>
    QCoro::Task<Outcome<RunValue<Operation>>> run(QString label, Operation operation, CancelToken cancel = {});
    // Asks every running operation, and every sequence holding its token, to stop.
    void cancelRunningTasks();
    // Keeps the token among those cancelRunningTasks reaches for as long as the returned guard
    // lives: a sequence holds its token between its runs, so a cancel there is not lost.
    [[nodiscard]] std::shared_ptr<void> holdCancel(const CancelToken &cancel);

    // Appends a character with a fresh id and the trimmed name and touches updatedAt; a blank
    // name adds nothing. Returns the new character's id.
    std::optional<QUuid> addCharacter(const QString &name);
    // Appends the paths to the first character with that id; no character, no change.
    void addReferenceImages(const QUuid &characterID, const QStringList &paths);
    // Removes the character and unlinks the chunks that named it, touching updatedAt. False,
    // and no change, when there is no such character.
    bool removeCharacter(const QUuid &characterID);
    // Removes one reference image path from the character (the file stays on disk). False, and
    // no change, when the character or the path is not there.
    bool removeReferenceImage(const QUuid &characterID, const QString &path);

    // The lyrics editor's write rule: changed text replaces the lyrics, marks them as edited by
    // hand and throws the transcript away (it no longer matches); the same text changes nothing.
    void setLyrics(const QString &text);
    // Corrects one transcript segment in place (index from 0): its text, start or end. Lines
    // stay in time order, so a start before the line before's start or after the next one's,
    // an end before the start, or a time before the song are refused with a sentence and
    // change nothing; otherwise nothing else changes and updatedAt stays.
    Done editSegment(qsizetype index, const std::optional<QString> &text, const std::optional<double> &start,
                     const std::optional<double> &end);
    // Moves every line (and its words) by `seconds`; refused with a sentence, changing
    // nothing, when there is no transcript or the first line would start before the song.
    Done shiftTranscript(double seconds);

    // Callbacks for engines, safe to call from any thread: each applies its value at once on
    // the UI thread and posts it there without waiting from any other, and drops it if the
    // store is gone by then.
    std::function<void(double)> progressSink();
    std::function<void(QString)> statusSink();
    // Both sinks, as engines take them.
    TaskReport report() { return TaskReport{statusSink(), progressSink()}; }

    bool hasPendingSave() const { return m_saveTimer.isActive(); }
    // Writes a waiting save now. Throws SaveError when it fails (the save stays pending).
    void flushPendingSave();

Q_SIGNALS:
    void projectChanged();
    void selectedStageChanged();
    void selectedChunkIDChanged();
    void runningTaskChanged();
    void taskProgressChanged();
    void lastErrorChanged();
    void generationModelChanged();
    void editWorkflowChanged();
    void proxyBaseURLChanged();
    void generationBackendChanged();
    void timingMethodChanged();
    void historyChanged();

private:
    void beginRun(const QString &label, const CancelToken &cancel);
    void endRun(const CancelToken &cancel, const std::optional<QString> &failure);
    void saveNow();
    // Shows a state of the history without recording it; false when there is none.
    bool restore(const std::optional<Project> &state);
    // Writes a setting to the preferences and to its field, notifying when it changed.
    void storeSetting(const char *preferenceKey, QString &field, const QString &value, void (ProjectStore::*changed)());

    ProjectLibrary m_library;
    PipelineServices m_services;
    StoreOptions m_options;
    Project m_project;
    PipelineStage m_selectedStage = PipelineStage::intake;
    std::optional<QUuid> m_selectedChunkID;
    std::optional<QString> m_runningTask;
    std::optional<double> m_taskProgress;
    std::optional<QString> m_lastError;
    QString m_generationModel;
    QString m_editWorkflow;
    QString m_proxyBaseURL;
    Backend m_generationBackend = Backend::service;
    TimingMethod m_timingMethod = TimingMethod::words;
    std::optional<QUrl> m_serviceURLOverride;
    std::vector<CancelToken> m_activeRuns;
    QTimer m_saveTimer;
    ProjectHistory m_history;
    // The long operation now running (its changes are one undo step), 0 when none.
    quint64 m_operation = 0;
    quint64 m_operationsStarted = 0;
    bool m_restoring = false;
};

template <typename Operation>
QCoro::Task<Outcome<RunValue<Operation>>> ProjectStore::run(QString label, Operation operation, CancelToken cancel)
{
    using Value = RunValue<Operation>;
    // A sequence cancelled before this run would start does not start it.
    if (cancel.isCancelled())
        co_return Outcome<Value>::cancelled();
    const QPointer<ProjectStore> self(this);
    beginRun(label, cancel);
    std::optional<Value> value;
    std::optional<QString> failure;
    try {
        auto running = operation(cancel); // a named task: see the g++ 12 note in BlockingWait.h
        if constexpr (std::is_same_v<decltype(running), QCoro::Task<void>>) {
            co_await running;
            value.emplace();
        } else {
            value.emplace(co_await running);
        }
    } catch (const Cancelled &) {
        // The user asked for this; nothing to report.
    } catch (const std::exception &error) {
        failure = userFacingDescription(error);
    } catch (...) {
        failure = userFacingDescription(std::runtime_error(""));
    }

    if (!self)
        co_return Outcome<Value>::cancelled();
    endRun(cancel, failure);
    if (failure)
        co_return Outcome<Value>::failed(*failure);
    if (!value)
        co_return Outcome<Value>::cancelled();
    co_return Outcome<Value>::done(std::move(*value));
}

} // namespace quillvane
