#include "audio/TimingRun.h"
