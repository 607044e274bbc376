#include "ui/SessionBridge.h"

#include "model/PipelineStage.h"
#include "model/TimeFormat.h"
#include "ui/BridgeSupport.h"

namespace quillvane::ui {

SessionBridge::SessionBridge(ProjectStore &store, QObject *parent)
    : QObject(parent)
    , m_store(store)
    , m_stages(new StageListModel(store, this))
    , m_choosers(new Choosers(store.document().library().preferences(), qmlImportPaths(), this))
{
    refresh();
    for (const auto signal : {&TaskSession::selectedStageChanged, &TaskSession::runningTaskChanged,
                              &TaskSession::taskProgressChanged, &TaskSession::lastErrorChanged})
        connect(&store.session(), signal, this, &SessionBridge::refresh);
    connect(&store.document(), &ProjectDocument::historyChanged, this, &SessionBridge::refresh);
}

void SessionBridge::refresh()
{
    const bool busy = m_store.session().runningTask().has_value();
    follow(this, m_selectedStage, int(m_store.session().selectedStage()), &SessionBridge::selectedStageChanged);
    follow(this, m_runningTask, m_store.session().runningTask().value_or(QString()), &SessionBridge::runningTaskChanged);
    follow(this, m_busy, busy, &SessionBridge::busyChanged);
    follow(this, m_taskProgress, m_store.session().taskProgress().value_or(-1), &SessionBridge::taskProgressChanged);
    follow(this, m_lastError, m_store.session().lastError().value_or(QString()), &SessionBridge::lastErrorChanged);
    follow(this, m_canUndo, m_store.document().canUndo() && !busy, &SessionBridge::canUndoChanged);
    follow(this, m_canRedo, m_store.document().canRedo() && !busy, &SessionBridge::canRedoChanged);
}

void SessionBridge::setSelectedStage(int stage)
{
    if (const auto chosen = pipelineStageFromRaw(stage))
        m_store.session().setSelectedStage(*chosen);
}

bool SessionBridge::undo()
{
    Q_EMIT historyStepped();
    return m_store.undo();
}

bool SessionBridge::redo()
{
    Q_EMIT historyStepped();
    return m_store.redo();
}

QString SessionBridge::clock(double seconds, bool hundredths)
{
    return clockText(seconds, hundredths ? ClockUnit::hundredths : ClockUnit::seconds);
}

double SessionBridge::readClock(const QString &text)
{
    return parseClock(text);
}

} // namespace quillvane::ui
