#include "pipeline/IntakeOperations.h"
