#include "audio/LocalWhisperTranscriber.h"

#include "audio/TranscriptionError.h"
#include "storage/Locations.h"

#include <QDir>

// Placeholder until the whisper engine lands.

namespace quillvane {

WhisperPlaces WhisperPlaces::forUser()
{
    WhisperPlaces places;
    places.home = QDir::homePath();
    places.runtimeDirectory = locations::whisperRuntimeFolder();
    places.path = qEnvironmentVariable("PATH");
    return places;
}

LocalWhisperTranscriber::LocalWhisperTranscriber(QString model, WhisperPlaces places)
    : m_model(std::move(model))
    , m_places(std::move(places))
{
}

QCoro::Task<TranscriptionResult> LocalWhisperTranscriber::transcribe(QString, std::function<void(QString)>,
                                                                     CancelToken)
{
    throw TranscriptionError::noEngineAvailable();
    co_return {};
}

std::optional<QString> LocalWhisperTranscriber::resolveExecutable() const
{
    return std::nullopt;
}

QStringList LocalWhisperTranscriber::candidatePaths() const
{
    return {};
}

TranscriptionResult LocalWhisperTranscriber::parseWhisperJSON(const QByteArray &)
{
    return {};
}

} // namespace quillvane
