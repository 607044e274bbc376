#pragma once

#include "store/Cancellation.h"

#include <QString>

#include <array>
#include <cstdint>
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
    // The shape of the middle's spectrum, frame by frame: cepstral coefficients 1 to
    // `timbreSize` of its mel spectrum, which follow the vowels and consonants being sung
    // rather than the note or the loudness.
    static constexpr std::size_t timbreSize = 12;
    std::vector<std::array<float, timbreSize>> timbre;
};

// How much of a frequency bin's power may be opposed between the channels (the side) before
// the bin counts as spread rather than in the middle. Mixes differ: in one the backing
// vocals and ad-libs are spread a little and a loose middle keeps them; in another guitars
// and keys sit near the middle and only a strict one leaves the lead voice alone.
inline constexpr double looseMiddle = 0.1;
inline constexpr double strictMiddle = 0.01;

// Hears the whole track off the caller's thread of control (it blocks; run it on a worker).
// Throws AlignmentError::failed when the audio cannot be decoded, Cancelled on cancel.
VoiceTrack listenForVoice(const QString &audioPath, const CancelToken &cancel, double sideShare = looseMiddle);

// The same hearing of sound already in memory: 16 kHz stereo, left and right interleaved.
VoiceTrack listenForVoice(const std::vector<int16_t> &stereo, const CancelToken &cancel,
                          double sideShare = looseMiddle);

// Each frame's place among all the track's frames, from 0 (quietest) to 1 (loudest): the
// chance it is voiced, without any fixed level, so a quiet recording and a loud one read alike.
std::vector<double> loudnessRanks(const std::vector<double> &levels);

// What a frame costs, given its chance of voice (its loudness rank), inside a sung line and in
// a pause between lines: breaths and short rests fall inside lines too, so a line's frame is
// expected voiced seven times in ten, a pause's about once in seven.
struct VoiceCosts {
    double inLine = 0;
    double inPause = 0;
};
VoiceCosts voiceCosts(double voiceChance);

} // namespace quillvane
