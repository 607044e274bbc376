#include "storage/Preferences.h"

#include <QLockFile>
#include <QSettings>
#include <QStandardPaths>

namespace quillvane {

namespace {

// QSettings guards its file with "<file>.lock". A program killed while taking that lock can
// leave the file empty, and QSettings would then wait 30 seconds before calling it stale,
// with the window frozen. Only one program writes a library and its preferences at a time
// (the library lock), so a lock file that names no live program is taken away first; one
// naming a dead program goes the same way through tryLock.
void clearDeadLock(const QString &settingsPath)
{
    QLockFile lock(settingsPath + QStringLiteral(".lock"));
    if (lock.tryLock(0)) {
        lock.unlock();
        return;
    }
    qint64 pid = 0;
    QString host;
    QString application;
    if (!lock.getLockInfo(&pid, &host, &application))
        lock.removeStaleLockFile();
}

} // namespace

Preferences::Preferences(QString filePath)
    : m_filePath(std::move(filePath))
{
}

Preferences Preferences::forUser()
{
    return Preferences(QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation)
                       + QStringLiteral("/Quillvane/Quillvane.conf"));
}

std::optional<QString> Preferences::string(const QString &key) const
{
    const QSettings settings(m_filePath, QSettings::IniFormat);
    const QVariant value = settings.value(key);
    if (!value.isValid())
        return std::nullopt;
    return value.toString();
}

bool Preferences::setString(const QString &key, const QString &value) const
{
    clearDeadLock(m_filePath);
    QSettings settings(m_filePath, QSettings::IniFormat);
    settings.setValue(key, value);
    settings.sync();
    return settings.status() == QSettings::NoError;
}

} // namespace quillvane
