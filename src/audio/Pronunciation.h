#pragma once

// How lyric words sound, written in the phones of the built-in English acoustic model (the
// ARPAbet set of the CMU Pronouncing Dictionary): the language is guessed from the words
// themselves, English words come from the recognizer's dictionary where it has them, and
// everything else goes through espeak-ng's grapheme-to-phoneme rules, whose IPA is mapped
// onto the model's nearest phones (a cross-lingual phone mapping, so one English model can
// align other languages).

#include <QString>
#include <QStringList>

#include <functional>
#include <optional>

namespace quillvane {

// The espeak-ng voice for the lyrics' language: "en-us", "fr", "es", "de", "it" or "pt",
// chosen by the common short words (articles, pronouns, conjunctions) and letters only one
// of them uses: language identification by function words (the short-word method compared
// in Grefenstette 1995). English when nothing points elsewhere.
QString guessVoice(const QStringList &words);

// An IPA transcription as espeak-ng writes it ("fantˈasma", "ʃˈøːn") in the acoustic model's
// phones ("F AA N T AA S M AA"); stress, length and unknown marks are dropped.
QStringList phonesFromIpa(const QString &ipa);

// The word as a pronunciation is looked up: lower case, edge punctuation gone.
QString spellingOf(const QString &word);

// Each word's phones, in order; an empty list where a word has no pronunciation (only
// punctuation). `lookup` gives the dictionary's phones for English words, or nothing.
// nullopt when espeak-ng is missing or failed.
std::optional<QList<QStringList>> pronounce(const QStringList &words, const QString &voice,
                                            const std::function<std::optional<QStringList>(const QString &)> &lookup);

} // namespace quillvane
