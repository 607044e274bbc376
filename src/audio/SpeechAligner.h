#pragma once

#include "audio/SpeechTranscriber.h"
#include "store/Engines.h"

#include <QList>
#include <QString>

namespace quillvane {

// The built-in word aligner: the English acoustic model of the built-in recognizer, held to a
// grammar that is the lyrics themselves (word after word, any one of which may go unsung),
// with espeak-ng giving the sound of words in other languages. Fully offline. This is forced
// alignment by Finite State Grammar (FSG) decoding in PocketSphinx (Huggins-Daines et al.,
// ICASSP 2006): a Viterbi beam search of the model's phone HMMs along the grammar's paths.
// Where it misses words, the lines are followed by DTW (SpokenWarp.h) or laid on the
// voice's loudness (VoiceLayout.h).
class SpeechAligner : public LyricsAligner {
public:
    explicit SpeechAligner(SpeechModel model = SpeechModel::installed());

    QString name() const override { return QStringLiteral("Built-in Word Aligner"); }
    // The model files and the espeak-ng program are there; checked afresh.
    bool isAvailable() const override;
    QCoro::Task<QList<QList<AlignedWord>>> align(QString audioPath, QStringList lines,
                                                 std::function<void(QString)> onProgress,
                                                 CancelToken cancel) override;

    // The words the recognizer found (confidence above 0, in order) kept; the others given
    // times from their neighbours: after the found word before them when in its line, before
    // the found word after them when in its line, whole lines between spread evenly over the
    // gap (linear interpolation between the found words as anchors). Each guessed word lasts
    // at most `guessedLength` seconds; nothing ends past `duration`. Throws
    // AlignmentError::notFound when no word was found.
    // Words the recognizer found far from every other found word (by more than a few seconds
    // plus a second for each lyric syllable between them) set back to not found: the
    // recognizer fits a short word into an intro or a break when it cannot hear the singer,
    // and one such word would drag its whole line there.
    static QList<QList<AlignedWord>> dropStrayWords(QList<QList<AlignedWord>> lines);
    static QList<QList<AlignedWord>> fillUnplaced(QList<QList<AlignedWord>> lines, double duration,
                                                  double guessedLength = 0.4);

private:
    SpeechModel m_model;
};

} // namespace quillvane
