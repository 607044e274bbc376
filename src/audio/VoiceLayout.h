#pragma once

#include "audio/VoiceTrack.h"
#include "store/Engines.h"

#include <QList>
#include <QString>
#include <QStringList>

#include <optional>
#include <vector>

namespace quillvane {

// How many frames are voiced: a two-component Gaussian mixture (quiet and loud) fitted to the
// track's log levels by expectation-maximisation (Dempster, Laird & Rubin 1977), the loud
// component's expected frame count; nothing when the levels do not split (silence, one
// steady sound).
std::optional<double> voicedFrames(const std::vector<double> &levels);

// The words of a lyric line: its runs of characters between white space.
QStringList wordsOf(const QString &line);

// Where each of a line's words starts, and where the last ends, as shares of the line by their
// syllables: one more value than words, from 0 to 1.
std::vector<double> syllableBounds(const QStringList &words);

// The number of sung syllables a written word stands for: its groups of vowels, at least one.
int syllableCount(const QString &word);

// Lays the lyric lines, in order, over the track where the voice is heard: each line takes a
// stretch of frames whose length follows its syllables at the song's own pace (the time the voice
// is heard, shared over all the syllables), lines sit on loud middle frames and the pauses between
// them on quiet ones: Viterbi decoding of a left-to-right hidden semi-Markov model of line and
// pause states (Rabiner 1989, on HMMs with explicit state durations), each line's length
// log-normal around its expected length. Words are spread over their line by syllables, with
// confidence 0 since none was heard on its own. Nothing when the track holds no voice to lay lines
// on (silence, a steady tone) or is too short for the lines.
std::optional<QList<QList<AlignedWord>>> layLinesOnVoice(const VoiceTrack &track, const QStringList &lines);

} // namespace quillvane
