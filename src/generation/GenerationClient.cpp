#include "generation/GenerationClient.h"

namespace quillvane {

FalClient makeGenerationClient(const ProjectStore &store)
{
    return FalClient(store.generationBaseURL(), sharedNetwork(), std::chrono::milliseconds(1500));
}

} // namespace quillvane
