#pragma once

#include "audio/LocalWhisperTranscriber.h"

#include <QByteArray>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>

namespace quillvane::test {

// How a stand-in whisper program behaves. It always finds its output folder the way whisper
// does, from the value after "--output_dir".
struct StandIn {
    QByteArray json{};           // copied into the output folder; nothing is written when null
    QString outputName{};        // name of the file it writes; empty: whisper's own rule
    int exitCode = 0;
    bool floods = false;         // writes 2 MB to each of its streams before the JSON
    bool crashes = false;        // dies of SIGSEGV after writing its file (if any)
    QString argumentsFile{};     // where it records its arguments, one a line; empty: nowhere
};

// A machine of its own for the whisper engine: the home folder, the runtime folder, the four
// system places and a folder on the application's PATH all live in one temporary folder,
// laid out as on a real machine ("usr/local/bin/whisper", "home/.local/bin/whisper", ...).
// Its command lookup is a stand-in for which that searches PATH only inside this machine,
// so a whisper installed on the real computer never leaks into a test.
class WhisperMachine {
public:
    WhisperMachine();

    WhisperPlaces places() const { return m_places; }
    QString path(const QString &relative) const { return m_root.filePath(relative); }

    // Writes an executable shell script, creating its folders; returns its absolute path.
    QString install(const QString &relative, const QByteArray &script) const;
    QString installWhisper(const QString &relative, const StandIn &behaviour = {}) const;
    // Writes a plain file (not executable), creating its folders; returns its absolute path.
    QString writePlain(const QString &relative, const QByteArray &bytes) const;

private:
    QTemporaryDir m_root;
    WhisperPlaces m_places;
};

// The per-run folders of the engine still in the temporary directory.
QStringList leftoverRunFolders();

} // namespace quillvane::test
