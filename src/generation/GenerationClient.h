#pragma once

#include "generation/FalClient.h"
#include "store/ProjectStore.h"

namespace quillvane {

// A fresh client for one generation operation, on the store's base URL (so a changed setting
// takes effect with the next operation), the shared HTTP session and the store's poll interval
// (1.5 seconds unless a test shortens it).
FalClient makeGenerationClient(const ProjectStore &store);

} // namespace quillvane
