#pragma once

#include "store/Engines.h"

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <optional>

namespace quillvane {

// Where the engine looks for a whisper program. The default is the user's real machine;
// tests point every place into a temporary folder.
struct WhisperPlaces {
    QString home;             // the home folder
    QString runtimeDirectory; // <data>/Quillvane/whisper-runtime
    // The fixed system places, in order; the home-relative places and the conda roots are
    // derived from `home`.
    QStringList systemPlaces = {QStringLiteral("/opt/homebrew/bin/whisper"), QStringLiteral("/usr/local/bin/whisper"),
                                QStringLiteral("/usr/bin/whisper"),
                                QStringLiteral("/opt/homebrew/opt/openai-whisper/bin/whisper")};
    QString whichProgram = QStringLiteral("/usr/bin/which");
    QString path; // the application's own PATH

    static WhisperPlaces forUser();
};

// Runs an installed whisper command-line program on the audio file and reads its JSON
// output. Finds the program afresh on every call; keeps nothing between calls.
class LocalWhisperTranscriber : public Transcriber {
public:
    explicit LocalWhisperTranscriber(QString model = QStringLiteral("base"), WhisperPlaces places = WhisperPlaces::forUser());

    QString name() const override { return QStringLiteral("Local Whisper"); }
    bool isAvailable() const override { return resolveExecutable().has_value(); }
    QCoro::Task<TranscriptionResult> transcribe(QString audioPath, std::function<void(QString)> onProgress,
                                                CancelToken cancel) override;

    std::optional<QString> resolveExecutable() const;
    // The candidates in search order, before the command lookup (for tests and diagnostics).
    QStringList candidatePaths() const;

    static TranscriptionResult parseWhisperJSON(const QByteArray &bytes);

private:
    QString m_model;
    WhisperPlaces m_places;
};

} // namespace quillvane
