#pragma once

#include "store/PipelineServices.h"

namespace quillvane {

// The engines of this build: the transcriber chosen as the settings screen describes, the
// FFmpeg motion renderer at 1920x1080, the FFmpeg exporter, the word aligner and the offline
// studio.
PipelineServices makeDefaultServices();

} // namespace quillvane
