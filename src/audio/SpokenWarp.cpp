#include "audio/SpokenWarp.h"

#include "audio/PcmDecoder.h"
#include "audio/VoiceLayout.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <numeric>

namespace quillvane {

namespace {

using Timbre = std::array<float, VoiceTrack::timbreSize>;

// How much the timbre's agreement weighs against the loudness, per standard deviation of
// agreement over the template.
constexpr double timbreWeight = 0.3;
// Each song frame moves the template on by 0 (a held sound) up to this many frames.
constexpr std::size_t longestStride = 3;
// Each spoken frame skipped beyond the next costs what a frame one spread worse in timbre
// does: a rapper may outpace espeak-ng where the sounds say so, but the path does not race
// through one line on loudness alone, crowding it into the end of the line before and
// stretching the lines after it to catch up.
constexpr double racePrice = timbreWeight;
// Two bits of way back per song and template frame; beyond this the search is not tried.
constexpr std::size_t largestSearch = std::size_t(400) * 1000 * 1000;
// Where in its frame a frame is heard: the middle of its first 64 ms window.
constexpr double firstWindowMiddle = 0.032;
// How far either way from where it was heard a heard word's sounds are followed freely, and
// what each song frame beyond costs: enough to keep the path near, not so much that one
// misheard word can bend it.
constexpr double heardReach = 0.5;
constexpr double awayFromHeard = 2.0;
// The longest a sung syllable (with a breath) is taken to last inside a line.
constexpr double slowestSyllable = 1.0;
// The prices of holding one spoken sound for one more song frame that are tried: little for a
// singer who stretches every vowel over a slow ballad, up to about what a song frame's loudness
// weighs, for one as quick and even as speech. Never nothing: a sound held for free lets the
// path start a line early and idle on its first sound through a break where a lead instrument
// plays near the middle.
constexpr double holdPrices[] = {0.1, 0.2, 0.5, 1.0};
constexpr double infinity = std::numeric_limits<double>::infinity();

// Cepstral mean and variance normalisation: each coefficient brought to zero mean and unit
// spread over the track, then each frame to unit length, so agreement is a plain dot product
// (one minus it the cosine distance) and a recording's colour, a fixed offset in the cepstrum,
// does not count.
std::vector<Timbre> normalised(const std::vector<Timbre> &frames)
{
    std::vector<Timbre> result = frames;
    if (frames.empty())
        return result;
    for (std::size_t c = 0; c < VoiceTrack::timbreSize; ++c) {
        double sum = 0;
        double squares = 0;
        for (const Timbre &frame : frames) {
            sum += frame[c];
            squares += double(frame[c]) * frame[c];
        }
        const double mean = sum / double(frames.size());
        const double spread = std::sqrt(std::max(0.0, squares / double(frames.size()) - mean * mean)) + 1e-9;
        for (Timbre &frame : result)
            frame[c] = float((frame[c] - mean) / spread);
    }
    for (Timbre &frame : result) {
        const double length = std::sqrt(std::inner_product(frame.begin(), frame.end(), frame.begin(), 0.0)) + 1e-9;
        for (float &value : frame)
            value = float(value / length);
    }
    return result;
}

using Span = std::pair<std::size_t, std::size_t>;

// Each word's first template frame and the frame after its last: its syllables' share of its
// line's frames.
std::vector<std::vector<Span>> wordFrames(const QList<QStringList> &words, const std::vector<Span> &lineFrames)
{
    std::vector<std::vector<Span>> frames;
    for (std::size_t line = 0; line < lineFrames.size(); ++line) {
        const double first = double(lineFrames[line].first);
        const double length = double(lineFrames[line].second - lineFrames[line].first);
        const std::vector<double> bounds = syllableBounds(words.at(qsizetype(line)));
        std::vector<Span> spans;
        for (std::size_t word = 0; word + 1 < bounds.size(); ++word)
            spans.emplace_back(std::size_t(std::lround(first + bounds[word] * length)),
                               std::size_t(std::lround(first + bounds[word + 1] * length)));
        frames.push_back(spans);
    }
    return frames;
}

// A line is sung in one breath or a few: a word followed by the path in a line where other
// words were heard is kept within `slowestSyllable` per syllable (and a breath) of the nearest
// heard word before it or after it, rather than left seconds away in an intro or a break.
void keepLinesTogether(QList<QList<AlignedWord>> &placed)
{
    // A moved word keeps the length the path gave it.
    const auto moveTo = [](AlignedWord &word, double start) {
        word.end += start - word.start;
        word.start = start;
    };
    for (QList<AlignedWord> &line : placed) {
        qsizetype lastHeard = -1;
        int syllablesSince = 0;
        for (qsizetype place = 0; place < line.size(); ++place) {
            AlignedWord &word = line[place];
            if (word.confidence > 0) {
                lastHeard = place;
                syllablesSince = 0;
            } else if (lastHeard >= 0) {
                moveTo(word, std::min(word.start, line.at(lastHeard).end + slowestSyllable * (syllablesSince + 1)));
                syllablesSince += syllableCount(word.text);
            }
        }
        qsizetype nextHeard = -1;
        int syllablesUntil = 0;
        for (qsizetype place = line.size(); place-- > 0;) {
            AlignedWord &word = line[place];
            if (word.confidence > 0) {
                nextHeard = place;
                syllablesUntil = 0;
            } else if (nextHeard >= 0) {
                syllablesUntil += syllableCount(word.text);
                moveTo(word, std::max(word.start, line.at(nextHeard).start - slowestSyllable * syllablesUntil));
            }
        }
    }
}

// A word followed by the path may still land before a heard word it follows (or after one it
// precedes), since the heard words hold the path only loosely: each such word is moved to lie
// between its neighbours, heard words staying where they were heard.
void keepInOrder(QList<QList<AlignedWord>> &placed)
{
    std::vector<AlignedWord *> order;
    for (QList<AlignedWord> &line : placed)
        for (AlignedWord &word : line)
            order.push_back(&word);
    for (std::size_t i = 1; i < order.size(); ++i)
        if (!(order[i]->confidence > 0))
            order[i]->start = std::max(order[i]->start, order[i - 1]->start);
    for (std::size_t i = order.size(); i-- > 1;)
        if (!(order[i - 1]->confidence > 0))
            order[i - 1]->start = std::min(order[i - 1]->start, order[i]->start);
    for (AlignedWord *word : order)
        word->end = std::max(word->end, word->start);
}

// The warping path's back-pointers, two bits (the stride taken) per song and template frame.
class Strides {
public:
    Strides(std::size_t songFrames, std::size_t templateFrames)
        : m_width(templateFrames)
        , m_bits((songFrames * templateFrames + 3) / 4)
    {
    }
    void set(std::size_t t, std::size_t i, std::size_t stride)
    {
        const std::size_t at = t * m_width + i;
        m_bits[at / 4] = std::uint8_t(m_bits[at / 4] | (stride << (2 * (at % 4))));
    }
    std::size_t get(std::size_t t, std::size_t i) const
    {
        const std::size_t at = t * m_width + i;
        return (m_bits[at / 4] >> (2 * (at % 4))) & 3U;
    }

private:
    std::size_t m_width;
    std::vector<std::uint8_t> m_bits;
};

struct Followed {
    // For each song frame, the template frame the path is on (empty unless asked for).
    std::vector<std::size_t> path;
    double cost = 0;
};

// Dynamic time warping (Sakoe & Chiba 1978) of the song onto the template: the least-cost
// path from the first frame of both to the last of both, its cost, and its frames when
// `tracePath`; nothing when no path reaches the template's end. The step pattern is
// asymmetric: every song frame takes one step and the template moves 0 to `longestStride`
// frames, so the cost is counted once per song frame and paths of any pace compare fairly.
// The local cost is the cosine distance of the normalised MFCCs, standardised over the
// template for this song frame, plus the song frame's voice cost (voiceCosts) for a line or
// a pause.
// `allowed` holds, for each template frame, the first and last song frame it goes with
// freely; beyond them each frame costs `awayFromHeard` more (a soft band around the heard
// words, where Sakoe and Chiba's is a hard one around the diagonal). Each song frame that
// holds a spoken sound (not a silence between lines) costs `holdPrice` more, and each spoken
// frame it skips beyond the next `racePrice`. Only two rows of the cost matrix are kept.
std::optional<Followed> dtwPath(const VoiceTrack &song, const VoiceTrack &spoken, const std::vector<bool> &isSpeech,
                                      const std::vector<Span> &allowed, double holdPrice, bool tracePath,
                                      const CancelToken &cancel)
{
    const std::size_t songFrames = song.timbre.size();
    const std::size_t templateFrames = spoken.timbre.size();
    const std::vector<Timbre> songMfcc = normalised(song.timbre);
    const std::vector<Timbre> templateMfcc = normalised(spoken.timbre);
    const std::vector<double> voiceChance = loudnessRanks(song.levels);
    std::optional<Strides> strides;
    if (tracePath)
        strides.emplace(songFrames, templateFrames);
    std::vector<double> cost(templateFrames);
    std::vector<double> total(templateFrames, infinity);
    std::vector<double> next(templateFrames);
    for (std::size_t t = 0; t < songFrames; ++t) {
        if (t % 256 == 0)
            cancel.throwIfCancelled();
        double sum = 0;
        double squares = 0;
        for (std::size_t i = 0; i < templateFrames; ++i) {
            const double apart
                = 1.0 - std::inner_product(songMfcc[t].begin(), songMfcc[t].end(), templateMfcc[i].begin(), 0.0);
            cost[i] = apart;
            sum += apart;
            squares += apart * apart;
        }
        const double mean = sum / double(templateFrames);
        const double spread = std::sqrt(std::max(0.0, squares / double(templateFrames) - mean * mean)) + 1e-9;
        const VoiceCosts voice = voiceCosts(voiceChance[t]);
        for (std::size_t i = 0; i < templateFrames; ++i)
            cost[i] = (isSpeech[i] ? timbreWeight * (cost[i] - mean) / spread + voice.inLine : voice.inPause)
                + (t < allowed[i].first || t > allowed[i].second ? awayFromHeard : 0.0);
        if (t == 0) {
            total[0] = cost[0];
            continue;
        }
        for (std::size_t i = 0; i < templateFrames; ++i) {
            std::size_t best = 0;
            double least = total[i] + (isSpeech[i] ? holdPrice : 0.0);
            for (std::size_t stride = 1; stride <= std::min(longestStride, i); ++stride) {
                const double reached = total[i - stride] + (isSpeech[i] ? racePrice * double(stride - 1) : 0.0);
                if (reached < least) {
                    least = reached;
                    best = stride;
                }
            }
            next[i] = least + cost[i];
            if (strides)
                strides->set(t, i, best);
        }
        std::swap(total, next);
    }
    if (!std::isfinite(total.back()))
        return std::nullopt;
    Followed followed{{}, total.back()};
    if (!strides)
        return followed;
    followed.path.resize(songFrames);
    std::size_t i = templateFrames - 1;
    for (std::size_t t = songFrames; t-- > 0;) {
        followed.path[t] = i;
        if (t > 0)
            i -= strides->get(t, i);
    }
    return followed;
}

// The template's features (loudness and MFCCs, taken as the song's are), each line's frames
// and which frames are speech.
struct Template {
    VoiceTrack track;
    std::vector<Span> lineFrames;
    std::vector<bool> isSpeech;
};

Template heardTemplate(const SpokenLyrics &spokenLyrics, const CancelToken &cancel)
{
    Template heard{listenForVoice(spokenLyrics.stereo, cancel), {}, {}};
    // A template frame belongs to a line when the middle of its first window falls in it.
    const double instantsPerFrame = heard.track.frameSeconds * PcmDecoder::sampleRate;
    const double middleInstant = firstWindowMiddle * PcmDecoder::sampleRate;
    const auto frameFrom = [&](std::size_t instant) {
        return std::size_t(std::max(0.0, std::ceil((double(instant) - middleInstant) / instantsPerFrame)));
    };
    for (const auto &[first, after] : spokenLyrics.lineSpans)
        heard.lineFrames.emplace_back(frameFrom(first), frameFrom(after));
    heard.isSpeech.assign(heard.track.timbre.size(), false);
    for (const auto &[first, after] : heard.lineFrames)
        for (std::size_t i = first; i < std::min(after, heard.isSpeech.size()); ++i)
            heard.isSpeech[i] = true;
    return heard;
}

bool canFollow(const VoiceTrack &song, const VoiceTrack &spoken)
{
    const std::size_t songFrames = song.timbre.size();
    const std::size_t templateFrames = spoken.timbre.size();
    return songFrames >= 2 && templateFrames >= 2 && song.levels.size() == songFrames
        && songFrames * templateFrames <= largestSearch && voicedFrames(song.levels);
}

// The same spoken lines in another order: each line with the silence before it moves as one
// piece, the silence after the last stays at the end.
SpokenLyrics inOrder(const SpokenLyrics &spoken, const std::vector<std::size_t> &order)
{
    SpokenLyrics moved;
    const auto &spans = spoken.lineSpans;
    for (const std::size_t line : order) {
        const std::size_t from = line == 0 ? 0 : spans[line - 1].second;
        const std::size_t silence = spans[line].first - from;
        const std::size_t at = moved.stereo.size() / 2;
        moved.stereo.insert(moved.stereo.end(), spoken.stereo.begin() + std::ptrdiff_t(2 * from),
                            spoken.stereo.begin() + std::ptrdiff_t(2 * spans[line].second));
        moved.lineSpans.emplace_back(at + silence, at + spans[line].second - from);
    }
    moved.stereo.insert(moved.stereo.end(), spoken.stereo.begin() + std::ptrdiff_t(2 * spans.back().second),
                        spoken.stereo.end());
    return moved;
}

std::optional<double> followingCost(const VoiceTrack &song, const Template &spoken, double holdPrice,
                                    const CancelToken &cancel)
{
    if (!canFollow(song, spoken.track))
        return std::nullopt;
    const std::vector<Span> anywhere(spoken.track.timbre.size(), {0, song.timbre.size()});
    const std::optional<Followed> followed
        = dtwPath(song, spoken.track, spoken.isSpeech, anywhere, holdPrice, false, cancel);
    return followed ? std::optional<double>(followed->cost) : std::nullopt;
}

} // namespace

std::optional<QList<QList<AlignedWord>>> warpSpokenOntoSong(const VoiceTrack &song, const SpokenLyrics &spokenLyrics,
                                                            const QStringList &lines, const CancelToken &cancel,
                                                            const QList<QList<AlignedWord>> &heard, double holdPrice)
{
    const Template heardSpoken = heardTemplate(spokenLyrics, cancel);
    const VoiceTrack &spoken = heardSpoken.track;
    const std::vector<Span> &lineFrames = heardSpoken.lineFrames;
    QList<QStringList> words;
    for (const QString &line : lines)
        words << wordsOf(line);

    const std::size_t songFrames = song.timbre.size();
    const std::size_t templateFrames = spoken.timbre.size();
    const bool shapesAgree = heard.isEmpty() || (heard.size() == lines.size() && [&] {
        for (qsizetype line = 0; line < lines.size(); ++line)
            if (heard.at(line).size() != words.at(line).size())
                return false;
        return true;
    }());
    if (!canFollow(song, spoken) || lineFrames.size() != std::size_t(lines.size()) || !shapesAgree)
        return std::nullopt;
    const std::vector<std::vector<Span>> frames = wordFrames(words, lineFrames);
    // A heard word draws its template frames to the song frames around where it was heard.
    std::vector<Span> allowed(templateFrames, {0, songFrames});
    const double step = song.frameSeconds;
    for (qsizetype line = 0; line < heard.size(); ++line)
        for (qsizetype place = 0; place < heard.at(line).size(); ++place) {
            const AlignedWord &word = heard.at(line).at(place);
            if (!(word.confidence > 0))
                continue;
            const double from = std::max(0.0, std::floor((word.start - heardReach - firstWindowMiddle) / step));
            const double to = std::max(0.0, std::ceil((word.end + heardReach - firstWindowMiddle) / step));
            const auto [first, after] = frames[std::size_t(line)][std::size_t(place)];
            for (std::size_t i = first; i < std::min(after, templateFrames); ++i)
                allowed[i] = {std::size_t(from), std::size_t(to)};
        }
    const std::optional<Followed> followed
        = dtwPath(song, spoken, heardSpoken.isSpeech, allowed, holdPrice, true, cancel);
    if (!followed)
        return std::nullopt;
    const std::vector<std::size_t> &path = followed->path;

    // When the path first reaches each template frame, in seconds of the song.
    std::vector<double> reachedAt(templateFrames + 1, double(songFrames) * step);
    for (std::size_t t = 0, i = 0; t < songFrames; ++t)
        for (; i <= path[t]; ++i)
            reachedAt[i] = double(t) * step + firstWindowMiddle;

    QList<QList<AlignedWord>> placed;
    for (qsizetype line = 0; line < lines.size(); ++line) {
        QList<AlignedWord> lineWords;
        for (qsizetype place = 0; place < words.at(line).size(); ++place) {
            const auto [first, after] = frames[std::size_t(line)][std::size_t(place)];
            const bool wasHeard = !heard.isEmpty() && heard.at(line).at(place).confidence > 0;
            lineWords << (wasHeard ? heard.at(line).at(place)
                                   : AlignedWord{words.at(line).at(place), reachedAt[std::min(first, templateFrames)],
                                                 reachedAt[std::min(after, templateFrames)], 0});
        }
        placed << lineWords;
    }
    keepLinesTogether(placed);
    keepInOrder(placed);
    return placed;
}

namespace {

// The spoken lyrics as written and in the two other orders, their features taken once for
// both mid/side masks of the song they are weighed against.
struct Orders {
    Template asWritten;
    std::vector<Template> others; // none for a single line, which has no order to tell
};

Orders heardInOrders(const SpokenLyrics &spoken, const CancelToken &cancel)
{
    Orders orders{heardTemplate(spoken, cancel), {}};
    const std::size_t lines = spoken.lineSpans.size();
    if (lines < 2)
        return orders;
    std::vector<std::size_t> reversed(lines);
    std::iota(reversed.rbegin(), reversed.rend(), std::size_t(0));
    std::vector<std::size_t> halvesSwapped(lines);
    for (std::size_t i = 0; i < lines; ++i)
        halvesSwapped[i] = (i + lines / 2) % lines;
    orders.others.push_back(heardTemplate(inOrder(spoken, reversed), cancel));
    orders.others.push_back(heardTemplate(inOrder(spoken, halvesSwapped), cancel));
    return orders;
}

std::optional<Following> holdPriceFollowing(const VoiceTrack &song, const Orders &orders, const CancelToken &cancel)
{
    if (orders.others.empty())
        return canFollow(song, orders.asWritten.track) ? std::optional<Following>(Following{}) : std::nullopt;
    std::optional<Following> chosen;
    for (const double price : holdPrices) {
        const std::optional<double> written = followingCost(song, orders.asWritten, price, cancel);
        if (!written || !(*written > 0))
            return std::nullopt;
        // The margin is a share of the path's cost, so that prices that make every path dearer
        // are weighed alike.
        double margin = std::numeric_limits<double>::infinity();
        for (const Template &other : orders.others)
            if (const std::optional<double> cost = followingCost(song, other, price, cancel))
                margin = std::min(margin, (*cost - *written) / *written);
        if (margin > (chosen ? chosen->margin : 0.0))
            chosen = Following{price, margin};
    }
    return chosen;
}

} // namespace

std::optional<Following> holdPriceFollowingOrder(const VoiceTrack &song, const SpokenLyrics &spoken,
                                                 const CancelToken &cancel)
{
    return holdPriceFollowing(song, heardInOrders(spoken, cancel), cancel);
}

std::optional<HeardInOrder> hearingFollowingOrder(const std::vector<int16_t> &stereo, const SpokenLyrics &spoken,
                                                  const CancelToken &cancel)
{
    const Orders orders = heardInOrders(spoken, cancel);
    std::optional<HeardInOrder> best;
    for (const double sideShare : {looseMiddle, strictMiddle}) {
        VoiceTrack song = listenForVoice(stereo, cancel, sideShare);
        const std::optional<Following> following = holdPriceFollowing(song, orders, cancel);
        if (following && (!best || following->margin > best->following.margin))
            best = HeardInOrder{std::move(song), *following};
    }
    return best;
}

} // namespace quillvane
