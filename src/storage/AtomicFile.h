#pragma once

#include <QByteArray>
#include <QString>

#include <optional>

namespace quillvane {

// Replaces the file at `path` with `bytes` so that a reader, or the next start after a crash
// or power loss, sees either the whole old file or the whole new one. The bytes go to a
// temporary file in the same folder, every short write is retried and every error checked
// (a full disk must not leave a truncated document that still "succeeded"), the data is
// flushed to disk, and only then is the temporary file renamed over the old one.
// Returns nothing on success, else the reason; on failure the old file is untouched and no
// temporary file is left behind.
std::optional<QString> replaceFileAtomically(const QString &path, const QByteArray &bytes);

} // namespace quillvane
