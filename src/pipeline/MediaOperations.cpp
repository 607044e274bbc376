#include "pipeline/MediaOperations.h"
