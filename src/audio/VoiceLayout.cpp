#include "audio/VoiceLayout.h"

#include <QRegularExpression>

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>

namespace quillvane {

namespace {

// Spread of a line's length around its syllables' share of the song, as a factor: one
// standard deviation is about ×1.65 either way.
constexpr double lengthSpread = 0.5;
// Not all the time the middle is loud is syllables: held notes end, and some of it is the
// band in the middle.
constexpr double sungShareOfVoiced = 0.85;
// A line is never laid over less than this share or more than this multiple of its
// expected length, nor over more than `longestLine` seconds.
constexpr double shortestFactor = 0.3;
constexpr double longestFactor = 3.0;
constexpr double longestLine = 20.0;
constexpr double infinity = std::numeric_limits<double>::infinity();
// The short rests between the words of a line (a breath, a stop consonant) are not pauses
// between lines: each frame counts as loud as the loudest this close on either side (a
// running maximum, i.e. grey-scale dilation of the levels).
constexpr double bridgedRest = 0.16;

std::vector<double> bridgeRests(const std::vector<double> &levels, std::size_t reach)
{
    std::vector<double> bridged(levels.size());
    for (std::size_t t = 0; t < levels.size(); ++t) {
        const std::size_t from = t >= reach ? t - reach : 0;
        const std::size_t to = std::min(levels.size(), t + reach + 1);
        bridged[t] = *std::max_element(levels.begin() + std::ptrdiff_t(from), levels.begin() + std::ptrdiff_t(to));
    }
    return bridged;
}


struct Stretch {
    std::size_t start;
    std::size_t end;
};

// The lines' stretches of frames (in order, apart) that cost least: a frame inside a line costs
// -log of how likely a line frame is to sound as loud as it does, a frame of a pause likewise, and
// a line's length adds its squared log-distance from the expected length (the -log of a log-normal
// duration). Viterbi decoding of the lines as a hidden semi-Markov model: dynamic programming over
// a trellis of lines by frames, one line at a time, with prefix sums so that a stretch's cost is
// one subtraction. `ranks` are the frames' loudness ranks, `expected` each line's expected length
// in frames. Nothing when the lines cannot fit.
std::optional<std::vector<Stretch>> bestStretches(const std::vector<double> &ranks, const std::vector<double> &expected,
                                                  std::size_t longest)
{
    const std::size_t frames = ranks.size();
    std::vector<double> lineCost(frames + 1, 0.0);
    std::vector<double> pauseCost(frames);
    for (std::size_t t = 0; t < frames; ++t) {
        const VoiceCosts costs = voiceCosts(ranks[t]);
        lineCost[t + 1] = lineCost[t] + costs.inLine;
        pauseCost[t] = costs.inPause;
    }
    // settled[t]: the least cost of the lines so far with the last of them (or the start)
    // followed by a pause up to frame t. For each line, `length[t]` is the length of the best
    // line ending at t and `lineEnd[t]` the end of the line that a pause up to t follows: the
    // back-pointers the layout is read from, last line first.
    std::vector<double> settled(frames + 1, 0.0);
    for (std::size_t t = 0; t < frames; ++t)
        settled[t + 1] = settled[t] + pauseCost[t];
    std::vector<std::vector<std::uint32_t>> length(expected.size());
    std::vector<std::vector<std::uint32_t>> lineEnd(expected.size());
    for (std::size_t line = 0; line < expected.size(); ++line) {
        const auto shortest = std::max<std::size_t>(1, std::size_t(shortestFactor * expected[line]));
        const std::size_t longestHere
            = std::min({longest, std::size_t(longestFactor * expected[line]) + 2, frames});
        std::vector<double> ended(frames + 1, infinity);
        std::vector<std::uint32_t> &lengths = length[line];
        lengths.assign(frames + 1, 0);
        for (std::size_t d = shortest; d <= longestHere; ++d) {
            const double stretch = std::log(double(d) / expected[line]) / lengthSpread;
            const double lengthCost = 0.5 * stretch * stretch;
            for (std::size_t t = d; t <= frames; ++t) {
                const double cost = settled[t - d] + (lineCost[t] - lineCost[t - d]) + lengthCost;
                if (cost < ended[t]) {
                    ended[t] = cost;
                    lengths[t] = std::uint32_t(d);
                }
            }
        }
        std::vector<std::uint32_t> &ends = lineEnd[line];
        ends.resize(frames + 1);
        for (std::size_t t = 0; t <= frames; ++t) {
            ends[t] = std::uint32_t(t);
            if (t > 0 && ended[t - 1] + pauseCost[t - 1] < ended[t]) {
                ended[t] = ended[t - 1] + pauseCost[t - 1];
                ends[t] = ends[t - 1];
            }
        }
        settled = std::move(ended);
    }
    if (!std::isfinite(settled[frames]))
        return std::nullopt;
    std::vector<Stretch> stretches(expected.size());
    std::size_t at = frames;
    for (std::size_t line = expected.size(); line-- > 0;) {
        const std::size_t end = lineEnd[line][at];
        stretches[line] = {end - length[line][end], end};
        at = stretches[line].start;
    }
    return stretches;
}

} // namespace

// Expectation-maximisation of a two-Gaussian mixture over the log levels, started from the
// quartiles and run a fixed 50 rounds.
std::optional<double> voicedFrames(const std::vector<double> &levels)
{
    std::vector<double> sorted(levels);
    std::sort(sorted.begin(), sorted.end());
    const double mean = std::accumulate(levels.begin(), levels.end(), 0.0) / double(levels.size());
    double variance = 0;
    for (double level : levels)
        variance += (level - mean) * (level - mean);
    const double spread = std::sqrt(variance / double(levels.size()));
    if (!(spread > 1e-3))
        return std::nullopt;
    double centre[2] = {sorted[sorted.size() / 4], sorted[sorted.size() * 3 / 4]};
    double deviation[2] = {spread / 2, spread / 2};
    double weight[2] = {0.5, 0.5};
    double loudFrames = 0;
    for (int round = 0; round < 50; ++round) {
        // E step: each level's responsibility under the two components; M step: their
        // weights, means and deviations from those responsibilities.
        double sum[2] = {0, 0};
        double sumLevel[2] = {0, 0};
        double sumSquare[2] = {0, 0};
        for (double level : levels) {
            double likelihood[2];
            for (int k = 0; k < 2; ++k) {
                const double z = (level - centre[k]) / deviation[k];
                likelihood[k] = -0.5 * z * z - std::log(deviation[k]) + std::log(std::max(weight[k], 1e-12));
            }
            const double top = std::max(likelihood[0], likelihood[1]);
            const double loud = std::exp(likelihood[1] - top) / (std::exp(likelihood[0] - top) + std::exp(likelihood[1] - top));
            const double responsibility[2] = {1 - loud, loud};
            for (int k = 0; k < 2; ++k) {
                sum[k] += responsibility[k];
                sumLevel[k] += responsibility[k] * level;
                sumSquare[k] += responsibility[k] * level * level;
            }
        }
        for (int k = 0; k < 2; ++k) {
            if (sum[k] < 1e-9)
                return std::nullopt;
            weight[k] = sum[k] / double(levels.size());
            centre[k] = sumLevel[k] / sum[k];
            deviation[k] = std::sqrt(std::max(sumSquare[k] / sum[k] - centre[k] * centre[k], 0.0)) + 1e-3;
        }
        loudFrames = centre[1] >= centre[0] ? sum[1] : sum[0];
    }
    return loudFrames;
}

int syllableCount(const QString &word)
{
    static const QRegularExpression vowels(QStringLiteral("[aeiouyàâäéèêëîïôöùûüáíóúýœæåãõøı]+"),
                                           QRegularExpression::CaseInsensitiveOption);
    int count = 0;
    for (auto match = vowels.globalMatch(word); match.hasNext(); match.next())
        ++count;
    return std::max(count, 1);
}

QStringList wordsOf(const QString &line)
{
    static const QRegularExpression spaces(QStringLiteral("\\s+"));
    return line.split(spaces, Qt::SkipEmptyParts);
}

std::vector<double> syllableBounds(const QStringList &words)
{
    std::vector<double> bounds{0};
    for (const QString &word : words)
        bounds.push_back(bounds.back() + syllableCount(word));
    for (double &bound : bounds)
        bound /= std::max(bounds.back(), 1.0);
    return bounds;
}

std::optional<QList<QList<AlignedWord>>> layLinesOnVoice(const VoiceTrack &track, const QStringList &lines)
{
    const double step = track.frameSeconds;
    if (track.levels.empty() || lines.isEmpty() || !(step > 0))
        return std::nullopt;
    const std::vector<double> levels = bridgeRests(track.levels, std::size_t(std::lround(bridgedRest / step)));
    QList<QStringList> words;
    std::vector<double> syllables;
    for (const QString &line : lines) {
        words << wordsOf(line);
        double count = 0;
        for (const QString &word : words.back())
            count += syllableCount(word);
        syllables.push_back(std::max(count, 1.0));
    }
    const std::optional<double> voiced = voicedFrames(levels);
    if (!voiced)
        return std::nullopt;
    const double framesPerSyllable
        = sungShareOfVoiced * *voiced / std::accumulate(syllables.begin(), syllables.end(), 0.0);
    std::vector<double> expected;
    for (double count : syllables)
        expected.push_back(std::max(1.0, count * framesPerSyllable));
    const std::optional<std::vector<Stretch>> stretches
        = bestStretches(loudnessRanks(levels), expected, std::size_t(longestLine / step));
    if (!stretches)
        return std::nullopt;

    // Each word takes its syllables' share of its line.
    QList<QList<AlignedWord>> placed;
    for (qsizetype line = 0; line < lines.size(); ++line) {
        const Stretch &stretch = (*stretches)[std::size_t(line)];
        const double from = double(stretch.start) * step;
        const double lineLength = double(stretch.end - stretch.start) * step;
        const std::vector<double> bounds = syllableBounds(words.at(line));
        QList<AlignedWord> lineWords;
        for (qsizetype word = 0; word < words.at(line).size(); ++word)
            lineWords << AlignedWord{words.at(line).at(word), from + lineLength * bounds[std::size_t(word)],
                                     from + lineLength * bounds[std::size_t(word) + 1], 0};
        placed << lineWords;
    }
    return placed;
}

} // namespace quillvane
