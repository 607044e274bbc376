#include "pipeline/DefaultServices.h"

#include "audio/SpeechAligner.h"
#include "audio/SystemTranscriber.h"
#include "media/FfmpegMotionRenderer.h"
#include "media/FfmpegVideoExporter.h"
#include "pipeline/GenerationBackend.h"

namespace quillvane {

PipelineServices makeDefaultServices()
{
    PipelineServices services;
    services.transcriber = makeDefaultTranscriber();
    services.motion = std::make_shared<FfmpegMotionRenderer>(1920, 1080);
    services.exporter = std::make_shared<FfmpegVideoExporter>();
    services.aligner = std::make_shared<SpeechAligner>();
    services.offlineStudio = std::make_shared<OfflineStudioHost>();
    return services;
}

} // namespace quillvane
