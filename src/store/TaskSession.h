#pragma once

#include "model/PipelineStage.h"

#include <QObject>
#include <QString>
#include <QUuid>

#include <optional>

namespace quillvane {

// What the person is looking at and what the app is doing for them, apart from the project
// itself: the selected stage and chunk, the running task's line and progress, and the banner
// with the last failure. Never saved. Lives on the UI thread; every setter notifies only when
// the value really changes.
class TaskSession : public QObject {
    Q_OBJECT

public:
    using QObject::QObject;

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

Q_SIGNALS:
    void selectedStageChanged();
    void selectedChunkIDChanged();
    void runningTaskChanged();
    void taskProgressChanged();
    void lastErrorChanged();

private:
    PipelineStage m_selectedStage = PipelineStage::intake;
    std::optional<QUuid> m_selectedChunkID;
    std::optional<QString> m_runningTask;
    std::optional<double> m_taskProgress;
    std::optional<QString> m_lastError;
};

} // namespace quillvane
