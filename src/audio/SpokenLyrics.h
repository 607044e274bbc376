#pragma once

#include "store/Cancellation.h"

#include <QString>
#include <QStringList>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <utility>
#include <vector>

namespace quillvane {

// The lyrics as espeak-ng speaks them, line after line, each after a short silence and the
// last followed by one: a template of the sounds the singer makes, in the singer's order.
// Synthesising the expected performance and warping it onto the recording is how audio is
// aligned to a score (Hu, Dannenberg & Tzanetakis 2003); here text-to-speech stands in for
// the score's synthesiser, and SpokenWarp does the warping.
struct SpokenLyrics {
    // 16 kHz stereo, left and right alike and interleaved, as the voice hearing takes it.
    std::vector<int16_t> stereo;
    // Each line's first instant and the instant after its last (an instant is one left and
    // right pair).
    std::vector<std::pair<std::size_t, std::size_t>> lineSpans;
};

// Speaks every line with the espeak-ng voice named (blocks; run it on a worker). Nothing when
// espeak-ng is missing or fails on a line. Throws Cancelled on cancel.
std::optional<SpokenLyrics> speakLyrics(const QStringList &lines, const QString &voice, const CancelToken &cancel);

} // namespace quillvane
