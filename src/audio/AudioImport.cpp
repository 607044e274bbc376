#include "audio/AudioImport.h"
