#include "storage/LibraryLock.h"

#include <QDir>
#include <QFileInfo>

namespace quillvane {

LibraryBusyError::LibraryBusyError()
    : Error(QStringLiteral("Quillvane is already open on this library. Close it and try again."))
{
}

LibraryLock::LibraryLock(const QString &lockFilePath)
    : m_lock(std::make_unique<QLockFile>(lockFilePath))
{
    QDir().mkpath(QFileInfo(lockFilePath).absolutePath());
    // Never treat a lock as stale by age: only a lock whose process is gone may be taken over.
    m_lock->setStaleLockTime(0);
    if (m_lock->tryLock(0))
        return;
    if (m_lock->error() == QLockFile::LockFailedError)
        throw LibraryBusyError();
    throw Error(QStringLiteral("Quillvane could not lock its library at %1.").arg(lockFilePath));
}

LibraryLock::~LibraryLock() = default;

} // namespace quillvane
