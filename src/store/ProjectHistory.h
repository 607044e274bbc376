#pragma once

#include "model/Records.h"

#include <QElapsedTimer>
#include <QList>

#include <chrono>
#include <optional>

namespace quillvane {

// The session's undo and redo of the project, as whole snapshots: the state before each
// step. A burst of edits of the same part of the project (the letters typed into one field,
// a run of review ticks) is one step when each comes within `mergeWindow` of the last; a long
// operation is one step however many changes it hands back. At most `limit` steps are kept;
// the oldest go first. Never saved: it lives as long as the store.
class ProjectHistory {
public:
    explicit ProjectHistory(std::chrono::milliseconds mergeWindow = std::chrono::milliseconds(1000),
                            qsizetype limit = 100);

    // Called before `after` replaces `before` by anything but undo or redo. `operation` names
    // the long operation making the change (0 for a direct edit): changes of one operation
    // are one step.
    void record(const Project &before, const Project &after, quint64 operation);
    // The state to show instead of `current`, or nullopt when there is none; `current` goes
    // to the other side.
    std::optional<Project> undo(const Project &current);
    std::optional<Project> redo(const Project &current);
    bool canUndo() const { return !m_past.isEmpty(); }
    bool canRedo() const { return !m_future.isEmpty(); }

private:
    // Which top-level parts of the project differ, as bits: edits of the same parts merge.
    static quint32 changedParts(const Project &before, const Project &after);
    // Takes the newest state of `from`, leaving `current` on `to`.
    std::optional<Project> step(QList<Project> &from, QList<Project> &to, const Project &current);

    std::chrono::milliseconds m_mergeWindow;
    qsizetype m_limit;
    QList<Project> m_past;
    QList<Project> m_future;
    QElapsedTimer m_sinceLast;
    quint32 m_lastParts = 0;
    quint64 m_lastOperation = 0;
};

} // namespace quillvane
