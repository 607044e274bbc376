#pragma once

#include "generation/FalClient.h"
#include "store/ProjectStore.h"

namespace quillvane {

// Progress of a queued generation job as the user sees it: while the job waits at position
// 1 or more, the running task reads "In queue (position N)"; other polls leave it alone.
ProgressTarget queueProgress(ProjectStore &store);

} // namespace quillvane
