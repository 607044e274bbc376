#include "storage/Preferences.h"

#include <QSettings>
#include <QStandardPaths>

namespace quillvane {

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
    QSettings settings(m_filePath, QSettings::IniFormat);
    settings.setValue(key, value);
    settings.sync();
    return settings.status() == QSettings::NoError;
}

} // namespace quillvane
