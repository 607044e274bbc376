#include "audio/PcmDecoder.h"
#include "audio/TranscriptionError.h"
#include "audio/VoiceTrack.h"

extern "C" {
#include <libavutil/tx.h>
}

#include <algorithm>
#include <array>
#include <cmath>
#include <complex>
#include <memory>
#include <numeric>

namespace quillvane {

namespace {

// A short-time Fourier transform, Hann windows of 64 ms every 20 ms: long enough to resolve a
// sung pitch's harmonics, short enough to see the gap between two lines.
constexpr int windowLength = 1024;
constexpr int hop = 320;
// Two hops are pooled into one frame of the layout, after a 100 ms running mean that keeps a
// consonant or a drum hit from reading as a pause.
constexpr int pooled = 2;
constexpr int smoothing = 5;
// The voice's band.
constexpr double lowestHz = 300;
constexpr double highestHz = 4000;
// The mel filterbank the MFCCs are read from: the voice's formants and its consonants' hiss.
constexpr int melBands = 40;
constexpr double melLowestHz = 100;
constexpr double melHighestHz = 6000;
constexpr std::size_t binCount = windowLength / 2 + 1;

using Timbre = std::array<float, VoiceTrack::timbreSize>;

// The usual mel scale (O'Shaughnessy's formula): about linear below 1 kHz, logarithmic above.
double mel(double hz) { return 2595 * std::log10(1 + hz / 700); }

// A triangular mel filter: its weights over the FFT's bins from `firstBin` on.
struct MelFilter {
    std::size_t firstBin = 0;
    std::vector<float> weights;
};

std::vector<MelFilter> melFilters()
{
    std::vector<double> edges(melBands + 2);
    for (std::size_t i = 0; i < edges.size(); ++i) {
        const double m = mel(melLowestHz) + (mel(melHighestHz) - mel(melLowestHz)) * double(i) / (melBands + 1);
        edges[i] = 700 * (std::pow(10, m / 2595) - 1);
    }
    std::vector<MelFilter> filters(melBands);
    for (std::size_t band = 0; band < std::size_t(melBands); ++band) {
        MelFilter &filter = filters[band];
        for (std::size_t bin = 0; bin < binCount; ++bin) {
            const double hz = double(bin) * PcmDecoder::sampleRate / windowLength;
            const double rising = (hz - edges[band]) / (edges[band + 1] - edges[band]);
            const double falling = (edges[band + 2] - hz) / (edges[band + 2] - edges[band + 1]);
            const double weight = std::min(rising, falling);
            if (weight <= 0)
                continue;
            if (filter.weights.empty())
                filter.firstBin = bin;
            filter.weights.resize(bin - filter.firstBin + 1);
            filter.weights.back() = float(weight);
        }
    }
    return filters;
}

struct Hop {
    double level = 0;
    Timbre timbre{};
};

struct TxFreer {
    void operator()(AVTXContext *context) const { av_tx_uninit(&context); }
};

// One hop's mid (M) energy in the voice's band and its MFCCs, from a window of interleaved
// stereo samples; bins whose side (S) power is not under `sideShare` of their mid power are
// masked out of both, so that what is panned away from the centre neither counts as voice nor
// colours its timbre.
class MidSideMeter {
public:
    explicit MidSideMeter(double sideShare)
        : m_sideShare(sideShare)
        , m_window(windowLength)
        , m_left(windowLength)
        , m_right(windowLength)
        , m_leftBins(windowLength / 2 + 1)
        , m_rightBins(windowLength / 2 + 1)
        , m_middlePower(binCount)
        , m_filters(melFilters())
    {
        AVTXContext *context = nullptr;
        const float scale = 1.0F;
        if (av_tx_init(&context, &m_transform, AV_TX_FLOAT_RDFT, 0, windowLength, &scale, AV_TX_UNALIGNED) < 0)
            throw AlignmentError::failed(QStringLiteral("the audio could not be analysed."));
        m_context.reset(context);
        for (int i = 0; i < windowLength; ++i)
            m_window[std::size_t(i)] = float(0.5 - 0.5 * std::cos(2 * M_PI * i / windowLength));
    }

    Hop measure(const int16_t *stereo)
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
        for (std::size_t bin = 0; bin < binCount; ++bin) {
            const std::complex<float> middle = (m_leftBins[bin] + m_rightBins[bin]) * 0.5F;
            const std::complex<float> side = (m_leftBins[bin] - m_rightBins[bin]) * 0.5F;
            const float middlePower = std::norm(middle);
            m_middlePower[bin] = std::norm(side) < m_sideShare * middlePower ? middlePower : 0.0F;
            if (bin >= first && bin <= last)
                energy += m_middlePower[bin];
        }
        return {std::log(energy + 1e-9), mfcc()};
    }

private:
    // Mel-frequency cepstral coefficients (Davis & Mermelstein 1980) of the masked mid power:
    // coefficients 1.. of the orthonormal DCT-II of the log mel filterbank energies (the 0th,
    // overall loudness, is left to `levels`).
    Timbre mfcc() const
    {
        std::array<double, melBands> logMel{};
        for (std::size_t band = 0; band < std::size_t(melBands); ++band) {
            double sum = 0;
            const MelFilter &filter = m_filters[band];
            for (std::size_t i = 0; i < filter.weights.size(); ++i)
                sum += double(filter.weights[i]) * m_middlePower[filter.firstBin + i];
            logMel[band] = std::log(sum + 1e-8);
        }
        Timbre coefficients{};
        for (std::size_t k = 0; k < coefficients.size(); ++k) {
            double sum = 0;
            for (std::size_t band = 0; band < std::size_t(melBands); ++band)
                sum += logMel[band] * std::cos(M_PI * double(k + 1) * (double(band) + 0.5) / melBands);
            coefficients[k] = float(sum * std::sqrt(2.0 / melBands));
        }
        return coefficients;
    }

    double m_sideShare;
    std::unique_ptr<AVTXContext, TxFreer> m_context;
    av_tx_fn m_transform = nullptr;
    std::vector<float> m_window;
    std::vector<float> m_left;
    std::vector<float> m_right;
    std::vector<std::complex<float>> m_leftBins;
    std::vector<std::complex<float>> m_rightBins;
    std::vector<float> m_middlePower;
    std::vector<MelFilter> m_filters;
};

// Hops pooled into frames: levels after a running mean, MFCCs averaged.
VoiceTrack pool(const std::vector<Hop> &hops)
{
    VoiceTrack track;
    track.frameSeconds = double(pooled * hop) / PcmDecoder::sampleRate;
    const std::size_t count = hops.size() / pooled;
    track.levels.reserve(count);
    track.timbre.reserve(count);
    for (std::size_t frame = 0; frame < count; ++frame) {
        double sum = 0;
        int taken = 0;
        Timbre timbre{};
        for (std::size_t h = frame * pooled; h < frame * pooled + pooled; ++h) {
            for (int k = -smoothing / 2; k <= smoothing / 2; ++k) {
                const auto at = std::ptrdiff_t(h) + k;
                if (at >= 0 && at < std::ptrdiff_t(hops.size())) {
                    sum += hops[std::size_t(at)].level;
                    ++taken;
                }
            }
            for (std::size_t c = 0; c < timbre.size(); ++c)
                timbre[c] += hops[h].timbre[c] / pooled;
        }
        track.levels.push_back(sum / taken);
        track.timbre.push_back(timbre);
    }
    return track;
}

// Measures every whole window in `pending` and keeps the samples the next block continues.
void measureWindows(MidSideMeter &meter, std::vector<int16_t> &pending, std::vector<Hop> &hops)
{
    std::size_t at = 0;
    for (; at + 2 * windowLength <= pending.size(); at += 2 * hop)
        hops.push_back(meter.measure(pending.data() + at));
    pending.erase(pending.begin(), pending.begin() + std::ptrdiff_t(at));
}

} // namespace

std::vector<double> loudnessRanks(const std::vector<double> &levels)
{
    std::vector<std::size_t> order(levels.size());
    std::iota(order.begin(), order.end(), 0);
    std::stable_sort(order.begin(), order.end(), [&](std::size_t a, std::size_t b) { return levels[a] < levels[b]; });
    std::vector<double> ranks(levels.size());
    for (std::size_t place = 0; place < order.size(); ++place)
        ranks[order[place]] = (double(place) + 0.5) / double(order.size());
    return ranks;
}

VoiceCosts voiceCosts(double voiceChance)
{
    constexpr double voicedInLine = 0.7;
    constexpr double voicedInPause = 0.15;
    return {-std::log(voicedInLine * voiceChance + (1 - voicedInLine) * (1 - voiceChance)),
            -std::log(voicedInPause * voiceChance + (1 - voicedInPause) * (1 - voiceChance))};
}

VoiceTrack listenForVoice(const QString &audioPath, const CancelToken &cancel, double sideShare)
{
    PcmDecoder audio(audioPath, 2);
    MidSideMeter meter(sideShare);
    std::vector<Hop> hops;
    std::vector<int16_t> pending;
    for (;;) {
        cancel.throwIfCancelled();
        const std::vector<int16_t> more = audio.read(std::size_t(20 * PcmDecoder::sampleRate) * 2);
        if (audio.failed())
            throw AlignmentError::failed(QStringLiteral("the audio file could not be decoded."));
        if (more.empty())
            break;
        pending.insert(pending.end(), more.begin(), more.end());
        measureWindows(meter, pending, hops);
    }
    return pool(hops);
}

VoiceTrack listenForVoice(const std::vector<int16_t> &stereo, const CancelToken &cancel, double sideShare)
{
    cancel.throwIfCancelled();
    MidSideMeter meter(sideShare);
    std::vector<Hop> hops;
    std::vector<int16_t> pending = stereo;
    measureWindows(meter, pending, hops);
    return pool(hops);
}

} // namespace quillvane
