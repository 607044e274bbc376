#pragma once

#include "generation/FalClient.h"
#include "store/TaskReport.h"

namespace quillvane {

// Progress of a queued generation job as the person sees it: while the job waits at position
// 1 or more, the report says "In queue (position N)"; other polls say nothing.
ProgressTarget queueProgress(const TaskReport &report);

} // namespace quillvane
