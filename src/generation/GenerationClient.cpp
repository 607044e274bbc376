#include "generation/GenerationClient.h"

namespace quillvane {

FalClient makeGenerationClient(const ProjectStore &store)
{
    return FalClient(store.generationBaseURL(), sharedNetwork(), store.options().generationPollInterval,
                     store.options().generationTimeout);
}

} // namespace quillvane
