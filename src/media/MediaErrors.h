#pragma once

#include "model/Error.h"

namespace quillvane {

// Why a motion clip could not be rendered.
class MotionError : public Error {
public:
    enum class Case { cannotLoadImage, writerSetupFailed, pixelBufferFailed, settingsOutOfRange };

    static MotionError cannotLoadImage(const QString &imagePath);
    static MotionError writerSetupFailed();
    static MotionError pixelBufferFailed();
    // A duration and frame rate whose frame count or time scale no clip can hold.
    static MotionError settingsOutOfRange();

    Case kind() const { return m_kind; }

private:
    MotionError(Case kind, const QString &description);
    Case m_kind;
};

// Why the finished video could not be written.
class ExportError : public Error {
public:
    enum class Case { exportFailed, noClips, trackSetupFailed, sessionSetupFailed };

    static ExportError exportFailed(const QString &message);
    static ExportError noClips();
    static ExportError trackSetupFailed();
    static ExportError sessionSetupFailed();

    Case kind() const { return m_kind; }

private:
    ExportError(Case kind, const QString &description);
    Case m_kind;
};

// A folder that could not be created; the message names it.
class FolderError : public Error {
public:
    explicit FolderError(const QString &folder);
};

// Creates the folder holding `filePath` with every missing parent; throws FolderError.
void ensureParentFolder(const QString &filePath);

} // namespace quillvane
