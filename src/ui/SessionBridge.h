#pragma once

#include "ui/Choosers.h"
#include "ui/ProjectModels.h"

#include <QObject>
#include <QQmlEngine>

namespace quillvane::ui {

// The shell's view of the store (Session in QML): the stage on screen and the list of
// stages, the running task and its progress, the banner, the project's history, the file
// choosers, and the one way times are written and read on every screen.
class SessionBridge : public QObject {
    Q_OBJECT
    QML_ANONYMOUS

    Q_PROPERTY(int selectedStage READ selectedStage WRITE setSelectedStage NOTIFY selectedStageChanged)
    Q_PROPERTY(QString runningTask READ runningTask NOTIFY runningTaskChanged)
    Q_PROPERTY(bool busy READ busy NOTIFY busyChanged)
    // -1 while the running task's progress is unknown.
    Q_PROPERTY(double taskProgress READ taskProgress NOTIFY taskProgressChanged)
    Q_PROPERTY(QString lastError READ lastError NOTIFY lastErrorChanged)
    // Undo and redo are there when the history has a step and no task runs.
    Q_PROPERTY(bool canUndo READ canUndo NOTIFY canUndoChanged)
    Q_PROPERTY(bool canRedo READ canRedo NOTIFY canRedoChanged)
    Q_PROPERTY(QAbstractListModel *stages READ stages CONSTANT)
    Q_PROPERTY(quillvane::ui::Choosers *choosers READ choosers CONSTANT)

public:
    explicit SessionBridge(ProjectStore &store, QObject *parent = nullptr);

    int selectedStage() const { return m_selectedStage; }
    void setSelectedStage(int stage);
    QString runningTask() const { return m_runningTask; }
    bool busy() const { return m_busy; }
    double taskProgress() const { return m_taskProgress; }
    QString lastError() const { return m_lastError; }
    bool canUndo() const { return m_canUndo; }
    bool canRedo() const { return m_canRedo; }
    QAbstractListModel *stages() const { return m_stages; }
    Choosers *choosers() const { return m_choosers; }

    Q_INVOKABLE bool undo();
    Q_INVOKABLE bool redo();
    Q_INVOKABLE void cancelTasks() { m_store.cancelRunningTasks(); }
    Q_INVOKABLE void dismissError() { m_store.session().dismissError(); }
    // A refusal a screen makes itself (a chooser that cannot open), shown as the banner.
    Q_INVOKABLE void showError(const QString &sentence) { m_store.session().setLastError(sentence); }
    // "m:ss", or "m:ss.cc" with hundredths (see clockText).
    Q_INVOKABLE static QString clock(double seconds, bool hundredths = false);
    // A typed time in seconds, NaN when it is none (see parseClock).
    Q_INVOKABLE static double readClock(const QString &text);

Q_SIGNALS:
    void selectedStageChanged();
    void runningTaskChanged();
    void busyChanged();
    void taskProgressChanged();
    void lastErrorChanged();
    void canUndoChanged();
    void canRedoChanged();
    // An undo or redo was asked for: what was begun on the project as it was (tapping along)
    // ends.
    void historyStepped();

private:
    void refresh();

    ProjectStore &m_store;
    StageListModel *m_stages;
    Choosers *m_choosers;
    int m_selectedStage = 0;
    QString m_runningTask;
    bool m_busy = false;
    double m_taskProgress = -1;
    QString m_lastError;
    bool m_canUndo = false;
    bool m_canRedo = false;
};

} // namespace quillvane::ui
