#include "store/TaskSession.h"

#include <algorithm>
#include <cmath>

namespace quillvane {

void TaskSession::setSelectedStage(PipelineStage stage)
{
    if (stage == m_selectedStage)
        return;
    m_selectedStage = stage;
    Q_EMIT selectedStageChanged();
    setLastError(std::nullopt);
}

void TaskSession::setSelectedChunkID(const std::optional<QUuid> &chunkID)
{
    if (chunkID == m_selectedChunkID)
        return;
    m_selectedChunkID = chunkID;
    Q_EMIT selectedChunkIDChanged();
}

void TaskSession::setRunningTask(const std::optional<QString> &label)
{
    if (label == m_runningTask)
        return;
    m_runningTask = label;
    Q_EMIT runningTaskChanged();
}

void TaskSession::setTaskProgress(std::optional<double> fraction)
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

void TaskSession::setLastError(const std::optional<QString> &message)
{
    if (message == m_lastError)
        return;
    m_lastError = message;
    Q_EMIT lastErrorChanged();
}

} // namespace quillvane
