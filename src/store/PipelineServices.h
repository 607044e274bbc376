#pragma once

#include "model/PipelineConfig.h"
#include "store/Engines.h"

#include <QStringList>
#include <QUrl>

#include <chrono>
#include <memory>

namespace quillvane {

// Generation served on this computer (the built-in offline studio), for when the settings
// choose the offline backend.
class LocalGenerationHost {
public:
    virtual ~LocalGenerationHost() = default;
    // The base URL of the queue protocol it serves, starting it on first use; it serves the
    // images of `folders` and nothing else. Throws Error when it cannot start.
    virtual QUrl serve(const QStringList &folders) = 0;
    // It answers at once, so it is polled far more often than the remote service.
    virtual std::chrono::milliseconds pollInterval() const = 0;
};

// The engines and configuration the store is built with and never replaces. An empty engine
// slot means that engine is not part of this build; the operation needing it reports so.
struct PipelineServices {
    std::shared_ptr<Transcriber> transcriber;
    std::shared_ptr<MotionRenderer> motion;
    std::shared_ptr<VideoExporter> exporter;
    PipelineConfig config;
    // Places the words of known lyrics for the timing run; without it lines go by proportion.
    std::shared_ptr<LyricsAligner> aligner;
    // Without it the offline backend is not part of this build.
    std::shared_ptr<LocalGenerationHost> offlineStudio;
};

} // namespace quillvane
