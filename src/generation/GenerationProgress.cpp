#include "generation/GenerationProgress.h"

#include <QCoreApplication>

namespace quillvane {

ProgressTarget queueProgress(const TaskReport &report)
{
    ProgressTarget progress;
    // The report is safe from any thread and drops what arrives after its receiver is gone,
    // so the application itself can carry the poll's news to it.
    progress.requester = QCoreApplication::instance();
    progress.onProgress = [report](const FalProgress &reported) {
        if (reported.queuePosition && *reported.queuePosition >= 1)
            report.say(QStringLiteral("In queue (position %1)").arg(*reported.queuePosition));
    };
    return progress;
}

} // namespace quillvane
