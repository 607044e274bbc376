#pragma once

// The last two stages as store operations: motion and export.

#include "media/MediaRuns.h"
