#include "generation/GenerationProgress.h"

namespace quillvane {

ProgressTarget queueProgress(ProjectStore &store)
{
    QPointer<ProjectStore> target(&store);
    ProgressTarget progress;
    progress.requester = &store;
    progress.onProgress = [target](const FalProgress &reported) {
        if (target && reported.queuePosition && *reported.queuePosition >= 1)
            target->setRunningTask(QStringLiteral("In queue (position %1)").arg(*reported.queuePosition));
    };
    return progress;
}

} // namespace quillvane
