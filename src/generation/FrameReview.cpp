#include "generation/FrameReview.h"
