#pragma once

#include "store/Cancellation.h"

#include <QString>

#include <array>
#include <cstdint>
#include <vector>

namespace quillvane {

// How loud the middle of the mix is in the voice's band, frame by frame, by mid/side (M/S)
// stereo: M = (L + R) / 2, S = (L - R) / 2 in each bin of a short-time Fourier transform. A
// lead voice is almost always mixed to the middle, while much of the band is spread to the
// sides, so the energy the two channels share (and do not oppose) between 300 Hz and 4 kHz
// rises when the singer sings and falls between lines.
struct VoiceTrack {
    double frameSeconds = 0.04;
    // Natural log of the middle's energy in the voice's band, one value per frame.
    std::vector<double> levels;
    // The shape of the middle's spectrum, frame by frame: mel-frequency cepstral coefficients
    // (MFCCs; Davis & Mermelstein 1980) 1 to `timbreSize`, which follow the vowels and
    // consonants being sung rather than the note or the loudness.
    static constexpr std::size_t timbreSize = 12;
    std::vector<std::array<float, timbreSize>> timbre;
};

// How much of a frequency bin's power may be opposed between the channels (the side) before
// the bin counts as spread rather than in the middle: a binary time-frequency mask on each
// bin's side-to-mid power ratio, Avendano's panning-based source separation (WASPAA 2003)
// reduced to "centre or not". Mixes differ: in one the backing vocals and ad-libs are spread
// a little and a loose middle keeps them; in another guitars and keys sit near the middle and
// only a strict one leaves the lead voice alone.
inline constexpr double looseMiddle = 0.1;
inline constexpr double strictMiddle = 0.01;

// Hears the whole track off the caller's thread of control (it blocks; run it on a worker).
// Throws AlignmentError::failed when the audio cannot be decoded, Cancelled on cancel.
VoiceTrack listenForVoice(const QString &audioPath, const CancelToken &cancel, double sideShare = looseMiddle);

// The same hearing of sound already in memory: 16 kHz stereo, left and right interleaved.
VoiceTrack listenForVoice(const std::vector<int16_t> &stereo, const CancelToken &cancel,
                          double sideShare = looseMiddle);

// Each frame's place among all the track's frames, from 0 (quietest) to 1 (loudest), i.e. the
// empirical distribution function of the levels: the chance it is voiced, without any fixed
// level, so a quiet recording and a loud one read alike.
std::vector<double> loudnessRanks(const std::vector<double> &levels);

// What a frame costs, given its chance of voice (its loudness rank), inside a sung line and in
// a pause between lines, as the negative log-likelihood of a two-state (line, pause) hidden
// Markov model's emission: breaths and short rests fall inside lines too, so a line's frame
// is expected voiced seven times in ten, a pause's about once in seven.
struct VoiceCosts {
    double inLine = 0;
    double inPause = 0;
};
VoiceCosts voiceCosts(double voiceChance);

} // namespace quillvane
