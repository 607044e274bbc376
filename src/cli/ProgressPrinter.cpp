#include "cli/ProgressPrinter.h"

#include <cmath>

namespace quillvane::cli {

QString progressText(const QString &label, std::optional<double> fraction)
{
    if (!fraction)
        return label;
    return QStringLiteral("%1 %2%").arg(label).arg(int(std::floor(*fraction * 100)));
}

ProgressPrinter::ProgressPrinter(const ProjectStore &store, std::function<void(const QString &)> write,
                                 bool terminal, QObject *parent)
    : QObject(parent)
    , m_store(store)
    , m_write(std::move(write))
    , m_terminal(terminal)
{
    connect(&store.session(), &TaskSession::runningTaskChanged, this, &ProgressPrinter::update);
    connect(&store.session(), &TaskSession::taskProgressChanged, this, &ProgressPrinter::update);
}

ProgressPrinter::~ProgressPrinter()
{
    endLine();
}

void ProgressPrinter::update()
{
    const auto label = m_store.session().runningTask();
    if (!label) {
        endLine();
        m_shown.reset();
        return;
    }
    const QString text = progressText(*label, m_store.session().taskProgress());
    if (text == m_shown)
        return;
    m_shown = text;
    if (m_terminal) {
        m_write(QStringLiteral("\r\033[K") + text);
        m_lineOpen = true;
    } else {
        m_write(text + QLatin1Char('\n'));
    }
}

void ProgressPrinter::endLine()
{
    if (m_lineOpen)
        m_write(QStringLiteral("\r\033[K"));
    m_lineOpen = false;
}

} // namespace quillvane::cli
