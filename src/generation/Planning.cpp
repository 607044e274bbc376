#include "generation/Planning.h"
