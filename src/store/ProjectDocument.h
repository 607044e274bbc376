#pragma once

#include "model/Records.h"
#include "storage/ProjectLibrary.h"
#include "store/ProjectHistory.h"

#include <QObject>
#include <QTimer>

#include <chrono>
#include <functional>
#include <optional>

namespace quillvane {

// The open project as a document: its value, its undo history for the session and its
// automatic save. Lives on the UI thread.
//
// Every change is all or nothing: a change is made on a copy and assigned back whole, so a
// mutator (or an operation that fails or is cancelled part-way) either makes its whole change
// or leaves the project as it was. A change that leaves the project equal notifies nothing.
// Every change is saved after saveDelay of quiet; a failed save leaves the previous document
// whole on disk and the next change tries again.
class ProjectDocument : public QObject {
    Q_OBJECT

public:
    // The given project, else the library's last saved project, else the sample; a first save
    // is armed at once, so the opened project becomes the last one even when nothing changes.
    ProjectDocument(ProjectLibrary library, std::optional<Project> project, std::chrono::milliseconds saveDelay,
                    std::chrono::milliseconds undoMergeWindow, QObject *parent = nullptr);
    ~ProjectDocument() override;

    const Project &project() const { return m_project; }
    // Replaces the project as a whole value. With clips following the song, the chunks' spans
    // are laid again whenever what they are worked out from has moved.
    void setProject(const Project &project);
    // An edit made through a screen binding or the command line; does not touch updatedAt.
    void editProject(const std::function<void(Project &)> &edit);

    // The changes a long operation hands back, from its begin to the next begin or to
    // endOperations, are one undo step, however many there are.
    void beginOperation() { m_operation = ++m_operationsStarted; }
    void endOperations() { m_operation = 0; }
    // Shows the state before the last step (or after the last undone one); false, changing
    // nothing, when there is none.
    bool undo();
    bool redo();
    bool canUndo() const { return m_history.canUndo(); }
    bool canRedo() const { return m_history.canRedo(); }

    const ProjectLibrary &library() const { return m_library; }
    MediaLibrary media() const { return m_library.mediaFor(m_project.id); }
    bool hasPendingSave() const { return m_saveTimer.isActive(); }
    // Writes a waiting save now. Throws SaveError when it fails (the save stays pending).
    void flushPendingSave();

Q_SIGNALS:
    void projectChanged();
    void historyChanged();

private:
    void saveNow();
    // Shows a state of the history without recording it; false when there is none.
    bool restore(const std::optional<Project> &state);

    ProjectLibrary m_library;
    Project m_project;
    QTimer m_saveTimer;
    ProjectHistory m_history;
    // The operation now open (its changes are one undo step), 0 when none.
    quint64 m_operation = 0;
    quint64 m_operationsStarted = 0;
    bool m_restoring = false;
};

} // namespace quillvane
