#include "audio/Waveform.h"

#include "audio/PcmDecoder.h"

#include <algorithm>
#include <cstdlib>

namespace quillvane {

QList<float> waveformPeaks(const QString &audioPath, int buckets)
{
    if (buckets <= 0)
        return {};
    // Peaks per tenth of a second first: the length is only known at the end.
    constexpr std::size_t tenth = PcmDecoder::sampleRate / 10;
    PcmDecoder audio(audioPath);
    std::vector<float> tenths;
    for (;;) {
        const std::vector<int16_t> block = audio.read(tenth);
        if (audio.failed() || block.empty())
            break;
        int peak = 0;
        for (const int16_t sample : block)
            peak = std::max(peak, std::abs(int(sample)));
        tenths.push_back(float(peak) / 32768.0f);
    }
    if (tenths.empty())
        return {};
    // Each bucket covers its share of the tenths, and at least one of them.
    QList<float> peaks;
    const std::size_t count = tenths.size();
    for (std::size_t bucket = 0; bucket < std::size_t(buckets); ++bucket) {
        const std::size_t from = std::min(count - 1, bucket * count / std::size_t(buckets));
        const std::size_t to = std::max(from + 1, (bucket + 1) * count / std::size_t(buckets));
        peaks << *std::max_element(tenths.begin() + qsizetype(from), tenths.begin() + qsizetype(std::min(to, count)));
    }
    return peaks;
}

} // namespace quillvane
