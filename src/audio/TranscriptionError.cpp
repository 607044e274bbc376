#include "audio/TranscriptionError.h"

namespace quillvane {

TranscriptionError::TranscriptionError(Case kind, const QString &description)
    : Error(description)
    , m_kind(kind)
{
}

TranscriptionError TranscriptionError::failed(const QString &message)
{
    return {Case::failed, QStringLiteral("Transcription failed: ") + message};
}

TranscriptionError TranscriptionError::noEngineAvailable()
{
    return {Case::noEngineAvailable,
            QStringLiteral("No transcription engine available. Install Whisper, or install the built-in speech model "
                           "(pocketsphinx-en-us).")};
}

TranscriptionError TranscriptionError::notAuthorized()
{
    return {Case::notAuthorized,
            QStringLiteral("Speech recognition permission was denied. Enable it in System Settings ▸ Privacy.")};
}

} // namespace quillvane

namespace quillvane {

AlignmentError::AlignmentError(const QString &description)
    : Error(description)
{
}

AlignmentError AlignmentError::notFound()
{
    return AlignmentError(QStringLiteral("The lyrics could not be found in the song."));
}

AlignmentError AlignmentError::failed(const QString &message)
{
    return AlignmentError(QStringLiteral("Aligning the lyrics failed: ") + message);
}

} // namespace quillvane
