#pragma once

#include "model/Records.h"
#include "storage/ProjectLibrary.h"

#include <QByteArray>
#include <QString>
#include <QTemporaryDir>

#include <chrono>
#include <functional>
#include <ostream>
#include <sys/resource.h>

// Readable failure messages: gtest would print these as raw bytes.
inline void PrintTo(const QString &text, std::ostream *os)
{
    *os << '"' << text.toStdString() << '"';
}

namespace quillvane {
inline void PrintTo(LyricsSource source, std::ostream *os)
{
    *os << caseName(source).toStdString();
}
} // namespace quillvane

namespace quillvane::test {

// A project with every field and every optional filled, nested records included, so a round
// trip exercises the whole document.
Project fullyPopulatedProject();

// A chunk with a frame whose five checks are all `accepted`.
StoryboardChunk chunkWithFrame(bool accepted);

// A library of its own in a temporary folder: projects folder and preference file.
class TempLibrary {
public:
    ProjectLibrary library() const;
    QString path(const QString &relative) const { return m_dir.filePath(relative); }

private:
    QTemporaryDir m_dir;
};

QByteArray readFile(const QString &path);
void writeFile(const QString &path, const QByteArray &bytes);

// Runs the event loop until `done` holds or the time runs out; returns `done()`.
bool processEventsUntil(const std::function<bool()> &done, std::chrono::milliseconds limit);
void processEventsFor(std::chrono::milliseconds duration);

// A gtest parameter name made of a table row's description.
std::string testName(const char *description);

// While this lives, no file can grow beyond `bytes`: the failure a full disk gives, and it
// binds root too (permissions do not).
class FileSizeLimit {
public:
    explicit FileSizeLimit(rlim_t bytes);
    ~FileSizeLimit();
    FileSizeLimit(const FileSizeLimit &) = delete;
    FileSizeLimit &operator=(const FileSizeLimit &) = delete;

private:
    rlimit m_saved{};
};

// Identity of the file at path: inode and modification time, so it changes every time an
// atomic replace writes the file. Empty when there is no file.
QString fileIdentity(const QString &path);

} // namespace quillvane::test
