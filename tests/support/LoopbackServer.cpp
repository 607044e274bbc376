#include "support/LoopbackServer.h"
