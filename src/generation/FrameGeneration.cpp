#include "generation/FrameGeneration.h"

// Placeholder until frame generation lands.

namespace quillvane {

QCoro::Task<> applyNewFrame(ProjectStore &, FalClient &, QUuid, QString, QString, std::optional<QString>)
{
    co_return;
}

} // namespace quillvane
