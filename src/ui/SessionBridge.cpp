#include "ui/SessionBridge.h"

#include "model/PipelineStage.h"
#include "model/TimeFormat.h"
#include "ui/BridgeSupport.h"

namespace quillvane::ui {

SessionBridge::SessionBridge(ProjectStore &store, QObject *parent)
    : QObject(parent)
    , m_store(store)
    , m_stages(new StageListModel(store, this))
    , m_choosers(new Choosers(store.library().preferences(), qmlImportPaths(), this))
{
    refresh();
    for (const auto signal : {&ProjectStore::selectedStageChanged, &ProjectStore::runningTaskChanged,
                              &ProjectStore::taskProgressChanged, &ProjectStore::lastErrorChanged,
                              &ProjectStore::historyChanged})
        connect(&store, signal, this, &SessionBridge::refresh);
}

void SessionBridge::refresh()
{
    const bool busy = m_store.runningTask().has_value();
    follow(this, m_selectedStage, int(m_store.selectedStage()), &SessionBridge::selectedStageChanged);
    follow(this, m_runningTask, m_store.runningTask().value_or(QString()), &SessionBridge::runningTaskChanged);
    follow(this, m_busy, busy, &SessionBridge::busyChanged);
    follow(this, m_taskProgress, m_store.taskProgress().value_or(-1), &SessionBridge::taskProgressChanged);
    follow(this, m_lastError, m_store.lastError().value_or(QString()), &SessionBridge::lastErrorChanged);
    follow(this, m_canUndo, m_store.canUndo() && !busy, &SessionBridge::canUndoChanged);
    follow(this, m_canRedo, m_store.canRedo() && !busy, &SessionBridge::canRedoChanged);
}

void SessionBridge::setSelectedStage(int stage)
{
    if (const auto chosen = pipelineStageFromRaw(stage))
        m_store.setSelectedStage(*chosen);
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
