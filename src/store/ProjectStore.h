#pragma once

#include "model/Error.h"
#include "model/PipelineStage.h"
#include "model/Records.h"
#include "storage/ProjectLibrary.h"
#include "store/Cancellation.h"
#include "store/GenerationSettings.h"
#include "store/Outcome.h"
#include "store/PipelineServices.h"
#include "store/ProjectDocument.h"
#include "store/ProjectEdits.h"
#include "store/TaskReport.h"
#include "store/TaskSession.h"

#include <QCoro/QCoroTask>
#include <QObject>
#include <QPointer>

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

// The open project and what runs on it: the document (the project, its history and its
// automatic save), the session (selected stage, running task, progress, banner), the settings,
// the engines, and the Run wrapper every long operation goes through. Each screen and command
// reaches those parts through it. Lives on the UI thread; engines hand their results and
// progress back to that thread before anything here is touched, and only the operations of the
// pipeline apply an engine's result to the document.
class ProjectStore : public QObject {
    Q_OBJECT

public:
    // Start-up: the given project, else the library's last saved project, else the sample;
    // then the settings from the preferences, and a first save after saveDelay.
    explicit ProjectStore(ProjectLibrary library, std::optional<Project> project = std::nullopt,
                          PipelineServices services = {}, StoreOptions options = {}, QObject *parent = nullptr);
    ~ProjectStore() override;

    ProjectDocument &document() { return m_document; }
    const ProjectDocument &document() const { return m_document; }
    TaskSession &session() { return m_session; }
    const TaskSession &session() const { return m_session; }
    GenerationSettings &settings() { return m_settings; }
    const GenerationSettings &settings() const { return m_settings; }
    const PipelineServices &services() const { return m_services; }
    const StoreOptions &options() const { return m_options; }

    // The document's project, and its two ways of change (see ProjectDocument).
    const Project &project() const { return m_document.project(); }
    void setProject(const Project &project) { m_document.setProject(project); }
    void editProject(const std::function<void(Project &)> &edit) { m_document.editProject(edit); }
    // How the lyrics reach the picture now: the project's choice, else what the chosen
    // backend's stills call for. What counts as accepted follows it.
    LyricsOnScreen lyricsOnScreen() const { return quillvane::lyricsOnScreen(project().style, m_settings.generationBackend()); }
    StageStatus status(PipelineStage stage) const { return stageStatus(project(), stage, lyricsOnScreen()); }

    // Undo and redo of the document, refused (false, nothing changes) while a task runs.
    bool undo() { return !m_session.runningTask() && m_document.undo(); }
    bool redo() { return !m_session.runningTask() && m_document.redo(); }

    // The wrapper of every long operation: shows label as the running task, clears progress
    // and the last error, awaits operation(cancel), and clears the task when it ends. Returns
    // what happened: done with the operation's value, failed with its sentence (which also
    // becomes lastError for the banner) or cancelled (silently). Never throws. A sequence of
    // runs passes its own token to each, so one cancel stops the run and the sequence. The
    // changes a run hands back are one undo step.
    template <typename Operation>
    QCoro::Task<Outcome<RunValue<Operation>>> run(QString label, Operation operation, CancelToken cancel = {});
    // A precondition the person can fix before a task starts: the sentence becomes the banner
    // and the returned failure, and no task runs.
    Done refuse(const QString &sentence);
    // Asks every running operation, and every sequence holding its token, to stop.
    void cancelRunningTasks();
    // Keeps the token among those cancelRunningTasks reaches for as long as the returned guard
    // lives: a sequence holds its token between its runs, so a cancel there is not lost.
    [[nodiscard]] std::shared_ptr<void> holdCancel(const CancelToken &cancel);
    // What engines report through, safe to call from any thread: each line or fraction is
    // applied at once on the UI thread, posted there without waiting from any other, and
    // dropped if the store is gone by then.
    TaskReport report();

private:
    void beginRun(const QString &label, const CancelToken &cancel);
    void endRun(const CancelToken &cancel, const std::optional<QString> &failure);

    PipelineServices m_services;
    StoreOptions m_options;
    ProjectDocument m_document;
    TaskSession m_session;
    GenerationSettings m_settings;
    std::vector<CancelToken> m_activeRuns;
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
