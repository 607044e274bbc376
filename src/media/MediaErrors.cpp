#include "media/MediaErrors.h"

#include <QDir>
#include <QFileInfo>

namespace quillvane {

MotionError::MotionError(Case kind, const QString &description)
    : Error(description)
    , m_kind(kind)
{
}

MotionError MotionError::cannotLoadImage(const QString &imagePath)
{
    return {Case::cannotLoadImage, QStringLiteral("Could not load frame image at %1.").arg(imagePath)};
}

MotionError MotionError::writerSetupFailed()
{
    return {Case::writerSetupFailed, QStringLiteral("Could not start the video writer.")};
}

MotionError MotionError::pixelBufferFailed()
{
    return {Case::pixelBufferFailed, QStringLiteral("Could not allocate a video frame buffer.")};
}

MotionError MotionError::settingsOutOfRange()
{
    return {Case::settingsOutOfRange,
            QStringLiteral("These motion settings make a clip too long to render. Choose a shorter duration or a "
                           "lower frame rate.")};
}

ExportError::ExportError(Case kind, const QString &description)
    : Error(description)
    , m_kind(kind)
{
}

ExportError ExportError::exportFailed(const QString &message)
{
    return {Case::exportFailed, QStringLiteral("Export failed: ") + message};
}

ExportError ExportError::noClips()
{
    return {Case::noClips, QStringLiteral("There are no rendered clips to export.")};
}

ExportError ExportError::trackSetupFailed()
{
    return {Case::trackSetupFailed, QStringLiteral("Could not assemble the video tracks.")};
}

ExportError ExportError::sessionSetupFailed()
{
    return {Case::sessionSetupFailed, QStringLiteral("Could not create the export session.")};
}

FolderError::FolderError(const QString &folder)
    : Error(QStringLiteral("Could not create the folder %1.").arg(folder))
{
}

void ensureParentFolder(const QString &filePath)
{
    const QString folder = QFileInfo(filePath).absolutePath();
    if (!QDir().mkpath(folder))
        throw FolderError(folder);
}

} // namespace quillvane
