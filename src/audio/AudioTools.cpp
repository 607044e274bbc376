#include "audio/AudioTools.h"

// Placeholder until the TagLib and FFmpeg implementation lands.

namespace quillvane {

AudioToolError::AudioToolError(Case kind, const QString &description)
    : Error(description)
    , m_kind(kind)
{
}

AudioToolError AudioToolError::trimFailed()
{
    return {Case::trimFailed, QStringLiteral("Could not trim the audio clip for verification.")};
}

namespace AudioTools {

AudioMetadata readMetadataNow(const QString &)
{
    return {};
}

QCoro::Task<AudioMetadata> readMetadata(QString path)
{
    co_return readMetadataNow(path);
}

QString trimClipNow(const QString &, double, double)
{
    throw AudioToolError::trimFailed();
}

QCoro::Task<QString> trimClip(QString path, double start, double duration)
{
    co_return trimClipNow(path, start, duration);
}

} // namespace AudioTools
} // namespace quillvane
