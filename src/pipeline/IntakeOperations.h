#pragma once

// The intake stages as store operations: importing a track and timing its lyrics.

#include "audio/AudioImport.h"
#include "audio/TimingRun.h"
