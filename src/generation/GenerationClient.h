#pragma once

#include "generation/FalClient.h"
#include "store/ProjectStore.h"

namespace quillvane {

// A fresh client for one generation operation, on the store's base URL (so a changed setting
// takes effect with the next operation), the shared HTTP session and a 1.5-second poll.
FalClient makeGenerationClient(const ProjectStore &store);

} // namespace quillvane
