#include "storage/AtomicFile.h"

#include <QFileInfo>

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace quillvane {

namespace {

QString systemReason() { return QString::fromLocal8Bit(std::strerror(errno)); }

bool writeAll(int fd, const QByteArray &bytes)
{
    const char *data = bytes.constData();
    qsizetype remaining = bytes.size();
    while (remaining > 0) {
        const ssize_t written = ::write(fd, data, size_t(remaining));
        if (written < 0) {
            if (errno == EINTR)
                continue;
            return false;
        }
        data += written;
        remaining -= written;
    }
    return true;
}

} // namespace

std::optional<QString> replaceFileAtomically(const QString &path, const QByteArray &bytes)
{
    const QFileInfo target(path);
    const QByteArray folder = QFile::encodeName(target.absolutePath());
    QByteArray temporary = QFile::encodeName(target.absoluteFilePath()) + ".XXXXXX";

    const int fd = ::mkstemp(temporary.data());
    if (fd < 0)
        return systemReason();
    const auto fail = [&](bool closeFirst) {
        const QString reason = systemReason();
        if (closeFirst)
            ::close(fd);
        ::unlink(temporary.constData());
        return std::optional<QString>(reason);
    };

    if (::fchmod(fd, 0644) != 0 || !writeAll(fd, bytes) || ::fsync(fd) != 0)
        return fail(true);
    if (::close(fd) != 0)
        return fail(false);
    if (::rename(temporary.constData(), QFile::encodeName(target.absoluteFilePath()).constData()) != 0)
        return fail(false);

    // Make the rename itself durable; the new document is already whole either way.
    const int dir = ::open(folder.constData(), O_RDONLY | O_DIRECTORY);
    if (dir >= 0) {
        ::fsync(dir);
        ::close(dir);
    }
    return std::nullopt;
}

} // namespace quillvane
