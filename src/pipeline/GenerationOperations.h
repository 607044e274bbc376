#pragma once

// The generation stages as store operations: planning, elements, frames, edits and review.

#include "generation/FrameEditing.h"
#include "generation/FrameGeneration.h"
#include "generation/FrameReview.h"
#include "generation/Planning.h"
#include "generation/ReferenceImages.h"
