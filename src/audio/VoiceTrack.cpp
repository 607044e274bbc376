#include "audio/PcmDecoder.h"
#include "audio/TranscriptionError.h"
#include "audio/VoiceLayout.h"

extern "C" {
#include <libavutil/tx.h>
}

#include <cmath>
#include <complex>
#include <memory>

namespace quillvane {

namespace {

// 64 ms windows every 20 ms: long enough to resolve a sung pitch's harmonics, short enough to
// see the gap between two lines.
constexpr int windowLength = 1024;
constexpr int hop = 320;
// Two hops are pooled into one frame of the layout, after a 100 ms running mean that keeps a
// consonant or a drum hit from reading as a pause.
constexpr int pooled = 2;
constexpr int smoothing = 5;
// The voice's band, and how much of a bin may be opposed between the channels (the side)
// before the bin counts as spread rather than in the middle.
constexpr double lowestHz = 300;
constexpr double highestHz = 4000;
constexpr double sideShare = 0.1;

struct TxFreer {
    void operator()(AVTXContext *context) const { av_tx_uninit(&context); }
};

// One hop's middle energy in the voice's band, from a window of interleaved stereo samples.
class MiddleMeter {
public:
    MiddleMeter()
        : m_window(windowLength)
        , m_left(windowLength)
        , m_right(windowLength)
        , m_leftBins(windowLength / 2 + 1)
        , m_rightBins(windowLength / 2 + 1)
    {
        AVTXContext *context = nullptr;
        const float scale = 1.0F;
        if (av_tx_init(&context, &m_transform, AV_TX_FLOAT_RDFT, 0, windowLength, &scale, AV_TX_UNALIGNED) < 0)
            throw AlignmentError::failed(QStringLiteral("the audio could not be analysed."));
        m_context.reset(context);
        for (int i = 0; i < windowLength; ++i)
            m_window[std::size_t(i)] = float(0.5 - 0.5 * std::cos(2 * M_PI * i / windowLength));
    }

    double measure(const int16_t *stereo)
    {
        for (std::size_t i = 0; i < std::size_t(windowLength); ++i) {
            m_left[i] = m_window[i] * float(stereo[2 * i]) / 32768.0F;
            m_right[i] = m_window[i] * float(stereo[2 * i + 1]) / 32768.0F;
        }
        m_transform(m_context.get(), m_leftBins.data(), m_left.data(), sizeof(float));
        m_transform(m_context.get(), m_rightBins.data(), m_right.data(), sizeof(float));
        const auto first = std::size_t(std::ceil(lowestHz * windowLength / PcmDecoder::sampleRate));
        const auto last = std::size_t(highestHz * windowLength / PcmDecoder::sampleRate);
        double energy = 0;
        for (std::size_t bin = first; bin <= last; ++bin) {
            const std::complex<float> middle = (m_leftBins[bin] + m_rightBins[bin]) * 0.5F;
            const std::complex<float> side = (m_leftBins[bin] - m_rightBins[bin]) * 0.5F;
            const double middlePower = std::norm(middle);
            if (std::norm(side) < sideShare * middlePower)
                energy += middlePower;
        }
        return std::log(energy + 1e-9);
    }

private:
    std::unique_ptr<AVTXContext, TxFreer> m_context;
    av_tx_fn m_transform = nullptr;
    std::vector<float> m_window;
    std::vector<float> m_left;
    std::vector<float> m_right;
    std::vector<std::complex<float>> m_leftBins;
    std::vector<std::complex<float>> m_rightBins;
};

} // namespace

VoiceTrack listenForVoice(const QString &audioPath, const CancelToken &cancel)
{
    PcmDecoder audio(audioPath, 2);
    MiddleMeter meter;
    std::vector<double> hops;
    std::vector<int16_t> pending;
    for (;;) {
        cancel.throwIfCancelled();
        const std::vector<int16_t> more = audio.read(std::size_t(20 * PcmDecoder::sampleRate) * 2);
        if (audio.failed())
            throw AlignmentError::failed(QStringLiteral("the audio file could not be decoded."));
        if (more.empty())
            break;
        pending.insert(pending.end(), more.begin(), more.end());
        std::size_t at = 0;
        for (; at + 2 * windowLength <= pending.size(); at += 2 * hop)
            hops.push_back(meter.measure(pending.data() + at));
        pending.erase(pending.begin(), pending.begin() + std::ptrdiff_t(at));
    }
    VoiceTrack track;
    track.frameSeconds = double(pooled * hop) / PcmDecoder::sampleRate;
    const std::size_t count = hops.size() / pooled;
    track.levels.reserve(count);
    for (std::size_t frame = 0; frame < count; ++frame) {
        double sum = 0;
        int taken = 0;
        for (std::size_t h = frame * pooled; h < frame * pooled + pooled; ++h)
            for (int k = -smoothing / 2; k <= smoothing / 2; ++k) {
                const auto at = std::ptrdiff_t(h) + k;
                if (at >= 0 && at < std::ptrdiff_t(hops.size())) {
                    sum += hops[std::size_t(at)];
                    ++taken;
                }
            }
        track.levels.push_back(sum / taken);
    }
    return track;
}

} // namespace quillvane
