#include "store/ProjectStore.h"

#include <QCoreApplication>
#include <QPointer>
#include <QThread>

#include <algorithm>

namespace quillvane {

ProjectStore::ProjectStore(ProjectLibrary library, std::optional<Project> project, PipelineServices services,
                           StoreOptions options, QObject *parent)
    : QObject(parent)
    , m_services(std::move(services))
    , m_options(options)
    , m_document(library, std::move(project), options.saveDelay, options.undoMergeWindow)
    , m_settings(library.preferences(), m_services.config)
{
}

ProjectStore::~ProjectStore() = default;

Done ProjectStore::refuse(const QString &sentence)
{
    m_session.setLastError(sentence);
    return Done::failed(sentence);
}

void ProjectStore::beginRun(const QString &label, const CancelToken &cancel)
{
    m_activeRuns.push_back(cancel);
    m_document.beginOperation();
    m_session.setRunningTask(label);
    m_session.setTaskProgress(std::nullopt);
    m_session.setLastError(std::nullopt);
}

void ProjectStore::endRun(const CancelToken &cancel, const std::optional<QString> &failure)
{
    // One entry: a sequence may hold the same token for longer.
    if (const auto entry = std::find(m_activeRuns.begin(), m_activeRuns.end(), cancel); entry != m_activeRuns.end())
        m_activeRuns.erase(entry);
    if (m_activeRuns.empty())
        m_document.endOperations();
    if (failure)
        m_session.setLastError(failure);
    m_session.setRunningTask(std::nullopt);
    m_session.setTaskProgress(std::nullopt);
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

TaskReport ProjectStore::report()
{
    const QPointer<TaskSession> session(&m_session);
    // Engines call these from their own threads: the session is touched on the UI thread only.
    // Called there, a value applies at once, so a line said just before a run ends shows
    // before the run clears the task line.
    const auto post = [](std::function<void()> apply) {
        QCoreApplication *application = QCoreApplication::instance();
        if (QThread::currentThread() == application->thread())
            apply();
        else
            QMetaObject::invokeMethod(application, std::move(apply), Qt::QueuedConnection);
    };
    TaskReport report;
    report.status = [session, post](QString line) {
        post([session, line = std::move(line)] {
            if (session)
                session->setRunningTask(line);
        });
    };
    report.progress = [session, post](double fraction) {
        post([session, fraction] {
            if (session)
                session->setTaskProgress(fraction);
        });
    };
    return report;
}

} // namespace quillvane
