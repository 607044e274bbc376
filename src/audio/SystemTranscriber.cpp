#include "audio/SystemTranscriber.h"

#include "audio/LocalWhisperTranscriber.h"
#include "audio/SpeechTranscriber.h"
#include "audio/TranscriptionError.h"

namespace quillvane {

SystemTranscriber::SystemTranscriber(std::shared_ptr<Transcriber> local, std::shared_ptr<Transcriber> speech)
    : m_local(std::move(local))
    , m_speech(std::move(speech))
{
}

Transcriber *SystemTranscriber::currentEngine() const
{
    if (m_local->isAvailable())
        return m_local.get();
    if (m_speech->isAvailable())
        return m_speech.get();
    return nullptr;
}

QString SystemTranscriber::name() const
{
    const Transcriber *engine = currentEngine();
    return engine ? engine->name() : QStringLiteral("None");
}

bool SystemTranscriber::isAvailable() const
{
    return currentEngine() != nullptr;
}

QCoro::Task<TranscriptionResult> SystemTranscriber::transcribe(QString audioPath,
                                                               std::function<void(QString)> onProgress,
                                                               CancelToken cancel)
{
    const auto status = [&onProgress](const QString &line) {
        if (onProgress)
            onProgress(line);
    };
    if (!currentEngine())
        throw TranscriptionError::noEngineAvailable();

    // Discovery runs again: whisper may have been installed or removed since.
    if (m_local->isAvailable()) {
        status(QStringLiteral("Transcribing with ") + m_local->name());
        std::optional<QString> localFailure;
        std::exception_ptr localError;
        try {
            // Held in a named task: g++ 12 destroys the temporaries of a call inside a
            // co_await expression twice.
            auto transcription = m_local->transcribe(audioPath, {}, cancel);
            co_return co_await transcription;
        } catch (const Cancelled &) {
            throw;
        } catch (const std::exception &error) {
            localFailure = userFacingDescription(error);
            localError = std::current_exception();
        }
        if (!m_speech->isAvailable())
            std::rethrow_exception(localError);
        status(QStringLiteral("%1 failed (%2); falling back to %3").arg(m_local->name(), *localFailure, m_speech->name()));
        if (!m_speech->isAvailable())
            throw TranscriptionError::noEngineAvailable();
        status(QStringLiteral("Transcribing with ") + m_speech->name());
        auto fallback = m_speech->transcribe(audioPath, {}, cancel);
        co_return co_await fallback;
    }

    if (m_speech->isAvailable()) {
        status(QStringLiteral("Transcribing with ") + m_speech->name());
        auto transcription = m_speech->transcribe(audioPath, {}, cancel);
        co_return co_await transcription;
    }
    throw TranscriptionError::noEngineAvailable();
}

std::shared_ptr<Transcriber> makeDefaultTranscriber()
{
    return std::make_shared<SystemTranscriber>(std::make_shared<LocalWhisperTranscriber>(QStringLiteral("base")),
                                               std::make_shared<SpeechTranscriber>());
}

} // namespace quillvane
