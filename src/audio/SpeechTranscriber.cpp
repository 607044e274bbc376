#include "audio/SpeechTranscriber.h"

#include "audio/TranscriptionError.h"

// Placeholder until the PocketSphinx engine lands.

namespace quillvane {

SpeechModel SpeechModel::installed()
{
    return {};
}

bool SpeechModel::filesExist() const
{
    return false;
}

SpeechTranscriber::SpeechTranscriber(SpeechModel model)
    : m_model(std::move(model))
{
}

bool SpeechTranscriber::isAvailable() const
{
    return false;
}

QCoro::Task<TranscriptionResult> SpeechTranscriber::transcribe(QString, std::function<void(QString)>, CancelToken)
{
    throw TranscriptionError::noEngineAvailable();
    co_return {};
}

QList<TimedChunk> SpeechTranscriber::groupWords(const QList<TimedChunk> &, int)
{
    return {};
}

std::optional<QString> SpeechTranscriber::spokenWord(const QString &)
{
    return std::nullopt;
}

} // namespace quillvane
