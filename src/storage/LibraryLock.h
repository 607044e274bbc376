#pragma once

#include "model/Error.h"

#include <QLockFile>
#include <QString>

#include <memory>

namespace quillvane {

class LibraryBusyError : public Error {
public:
    LibraryBusyError();
};

// One writer per library: the desktop app holds this lock for as long as it runs and the
// CLI takes it for each command, so two processes never save over each other. The lock is
// released when the object is destroyed; a lock left by a process that died is taken over.
class LibraryLock {
public:
    // Throws LibraryBusyError when another live process holds the lock, or Error when the
    // lock file cannot be written.
    explicit LibraryLock(const QString &lockFilePath);
    ~LibraryLock();

    LibraryLock(const LibraryLock &) = delete;
    LibraryLock &operator=(const LibraryLock &) = delete;

private:
    std::unique_ptr<QLockFile> m_lock;
};

} // namespace quillvane
