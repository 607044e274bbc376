#pragma once

#include "model/PipelineConfig.h"
#include "store/Engines.h"

#include <memory>

namespace quillvane {

// The engines and configuration the store is built with and never replaces. An empty engine
// slot means that engine is not part of this build; the operation needing it reports so.
struct PipelineServices {
    std::shared_ptr<Transcriber> transcriber;
    std::shared_ptr<MotionRenderer> motion;
    std::shared_ptr<VideoExporter> exporter;
    PipelineConfig config;
    // Places the words of known lyrics for the timing run; without it lines go by proportion.
    std::shared_ptr<LyricsAligner> aligner;
};

} // namespace quillvane
