#pragma once

#include "store/Cancellation.h"
#include "store/Engines.h"

#include <QList>
#include <QString>
#include <QStringList>

#include <optional>
#include <vector>

namespace quillvane {

// How loud the middle of the mix is in the voice's band, frame by frame. A lead voice is
// almost always mixed to the middle, while much of the band is spread to the sides, so the
// energy the two channels share (and do not oppose) between 300 Hz and 4 kHz rises when the
// singer sings and falls between lines.
struct VoiceTrack {
    double frameSeconds = 0.04;
    // Natural log of the middle's energy in the voice's band, one value per frame.
    std::vector<double> levels;
};

// Hears the whole track off the caller's thread of control (it blocks; run it on a worker).
// Throws AlignmentError::failed when the audio cannot be decoded, Cancelled on cancel.
VoiceTrack listenForVoice(const QString &audioPath, const CancelToken &cancel);

// The number of sung syllables a written word stands for: its groups of vowels, at least one.
int syllableCount(const QString &word);

// Lays the lyric lines, in order, over the track where the voice is heard: each line takes
// a stretch of frames whose length follows its syllables at the song's own pace (the time the
// voice is heard, shared over all the syllables), lines sit on loud middle frames and the
// pauses between them on quiet ones. Words are spread over their line by syllables, with
// confidence 0 since none was heard on its own. Nothing when the track holds no voice to lay
// lines on (silence, a steady tone) or is too short for the lines.
std::optional<QList<QList<AlignedWord>>> layLinesOnVoice(const VoiceTrack &track, const QStringList &lines);

} // namespace quillvane
