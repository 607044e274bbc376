#pragma once

#include "store/Engines.h"

#include <QString>

namespace quillvane {

// The files of a speech model: acoustic model folder, language model and dictionary.
struct SpeechModel {
    QString acousticModel;
    QString languageModel;
    QString dictionary;

    // The English model as Debian installs it, found through the XDG data folders
    // (pocketsphinx/model/en-us under XDG_DATA_HOME or XDG_DATA_DIRS, /usr/share by default).
    // Empty paths when it is not installed.
    static SpeechModel installed();
    bool filesExist() const;
};

// The built-in recognizer: PocketSphinx on this computer, fully offline. It hears words with
// their times and groups them six to a chunk, about the grain of whisper's segments.
class SpeechTranscriber : public Transcriber {
public:
    explicit SpeechTranscriber(SpeechModel model = SpeechModel::installed());

    QString name() const override { return QStringLiteral("Built-in Speech"); }
    // The model files are there and a decoder can be configured with them; checked afresh.
    bool isAvailable() const override;
    QCoro::Task<TranscriptionResult> transcribe(QString audioPath, std::function<void(QString)> onProgress,
                                                CancelToken cancel) override;

    // Consecutive groups of `size` words (the last holds what is left), each one chunk from
    // its first word's start to its last word's end, texts joined with single blanks.
    static QList<TimedChunk> groupWords(const QList<TimedChunk> &words, int size);
    // The word a recognizer token stands for: nothing for silence, sentence and filler
    // tokens ("<s>", "</s>", "<sil>", "[NOISE]", "++breath++"), and the word without an
    // alternate-pronunciation marker ("read(2)" gives "read").
    static std::optional<QString> spokenWord(const QString &token);

private:
    SpeechModel m_model;
};

} // namespace quillvane
