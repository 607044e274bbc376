#include "pipeline/GenerationOperations.h"
