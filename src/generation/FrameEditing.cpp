#include "generation/FrameEditing.h"
