#pragma once

#include "store/ProjectStore.h"

#include <QObject>
#include <QString>

#include <functional>
#include <optional>

namespace quillvane::cli {

// Shows the store's running task on standard error while a command runs: on a terminal one
// line that updates in place ("Reading audio 42%"), otherwise one line per change of label or
// of whole percent, so a log stays short however often progress moves.
class ProgressPrinter : public QObject {
    Q_OBJECT

public:
    // write receives raw text (a terminal line carries its own carriage return).
    ProgressPrinter(const ProjectStore &store, std::function<void(const QString &)> write, bool terminal,
                    QObject *parent = nullptr);
    ~ProgressPrinter() override;

private:
    void update();
    void endLine();

    const ProjectStore &m_store;
    std::function<void(const QString &)> m_write;
    bool m_terminal;
    std::optional<QString> m_shown; // the last text printed
    bool m_lineOpen = false;        // terminal line waiting to be finished
};

// The text for a running task: its label, and the whole percent when progress is known.
QString progressText(const QString &label, std::optional<double> fraction);

} // namespace quillvane::cli
