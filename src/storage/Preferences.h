#pragma once

#include <QString>

#include <optional>

namespace quillvane {

// The per-user preference store: string values in one INI file. A value type holding only
// the file's path, so it can be handed to whatever needs it; every call reads or writes the
// file, and writes reach the disk before the call returns so another process sees them.
class Preferences {
public:
    explicit Preferences(QString filePath);

    // XDG_CONFIG_HOME/Quillvane/Quillvane.conf (~/.config when unset).
    static Preferences forUser();

    const QString &filePath() const { return m_filePath; }
    std::optional<QString> string(const QString &key) const;
    // False when the value could not be written.
    bool setString(const QString &key, const QString &value) const;

private:
    QString m_filePath;
};

} // namespace quillvane
