#include "audio/SpeechAligner.h"

#include "audio/PcmDecoder.h"
#include "audio/Pronunciation.h"
#include "audio/TranscriptionError.h"
#include "audio/SpokenWarp.h"
#include "audio/VoiceLayout.h"
#include "av/OffThread.h"

#include <QFile>
#include <QRegularExpression>
#include <QStandardPaths>

#include <pocketsphinx.h>
#include <sphinxbase/err.h>
#include <sphinxbase/fsg_model.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <memory>
#include <mutex>
#include <optional>
#include <vector>

namespace quillvane {

namespace {

// Samples handed to the recognizer at once: cancel is looked at and progress told between
// blocks.
constexpr std::size_t blockSamples = PcmDecoder::sampleRate;
// A lyric word may go unsung (a chorus written once, an ad-lib line): the grammar lets the
// recognizer step over it at this price, high enough that it sings through the words it can.
constexpr double skipProbability = 0.02;
// The price of one phone of humming between words: what the band plays and the singer adds
// is heard as phones that belong to no lyric word rather than pulling the words to it.
constexpr double hummedPhoneProbability = 1e-4;
// Below this share of words found the path has lost the singer and is not trusted.
constexpr double leastFoundShare = 0.5;
// A sung word held longer than this is the recognizer swallowing music, not a word heard.
constexpr double longestWord = 3.0;
// A found word further than this from both found neighbours, plus `strayPerSyllable` for
// each syllable sung between them, was fitted into the music.
constexpr double strayGap = 4.0;
constexpr double strayPerSyllable = 1.0;
// Every phone of the model, each also a word of its own for the humming.
const char *const modelPhones[] = {"AA", "AE", "AH", "AO", "AW", "AY", "B",  "CH", "D",  "DH", "EH", "ER", "EY",
                                   "F",  "G",  "HH", "IH", "IY", "JH", "K",  "L",  "M",  "N",  "NG", "OW", "OY",
                                   "P",  "R",  "S",  "SH", "T",  "TH", "UH", "UW", "V",  "W",  "Y",  "Z",  "ZH"};

struct ConfigFreer {
    void operator()(cmd_ln_t *config) const { cmd_ln_free_r(config); }
};
struct DecoderFreer {
    void operator()(ps_decoder_t *decoder) const { ps_free(decoder); }
};
struct FsgFreer {
    void operator()(fsg_model_t *fsg) const { fsg_model_free(fsg); }
};
using Config = std::unique_ptr<cmd_ln_t, ConfigFreer>;
using Decoder = std::unique_ptr<ps_decoder_t, DecoderFreer>;
using Fsg = std::unique_ptr<fsg_model_t, FsgFreer>;

Config configFor(const SpeechModel &model)
{
    static std::once_flag silenced;
    std::call_once(silenced, [] { err_set_logfp(nullptr); });
    const QByteArray acoustic = QFile::encodeName(model.acousticModel);
    const QByteArray dictionary = QFile::encodeName(model.dictionary);
    // Breaths and pauses between the sung words are heard as silence or noise, which the
    // grammar allows anywhere; silence comes cheaper than the recognizer's defaults, since a
    // song has far more of it between words than speech does.
    return Config(cmd_ln_init(nullptr, ps_args(), TRUE, "-hmm", acoustic.constData(), "-dict", dictionary.constData(),
                              "-remove_silence", "no", "-fsgusefiller", "yes", "-silprob", "0.1", "-fillprob", "0.05",
                              nullptr));
}

QString phoneName(const QString &phone) { return QString(phone).remove(QRegularExpression(QStringLiteral("\\d"))); }

// The finite state grammar of the lyrics, in PocketSphinx's FSG text format: state i to i+1
// sings word i or steps over it (a null transition), and any state may hum single phones for
// as long as the music lasts (a phone loop, the usual garbage model for what is not a word).
Fsg lyricsGrammar(ps_decoder_t *decoder, const QStringList &wordNames)
{
    QByteArray text = "FSG_BEGIN lyrics\nNUM_STATES " + QByteArray::number(wordNames.size() + 1)
        + "\nSTART_STATE 0\nFINAL_STATE " + QByteArray::number(wordNames.size()) + '\n';
    const QByteArray sung = QByteArray::number(1 - skipProbability);
    const QByteArray skipped = QByteArray::number(skipProbability);
    const QByteArray hummed = QByteArray::number(hummedPhoneProbability);
    for (qsizetype i = 0; i <= wordNames.size(); ++i) {
        const QByteArray from = QByteArray::number(i);
        if (i < wordNames.size()) {
            const QByteArray to = QByteArray::number(i + 1);
            text += "TRANSITION " + from + ' ' + to + ' ' + sung + ' ' + wordNames.at(i).toUtf8() + '\n';
            text += "TRANSITION " + from + ' ' + to + ' ' + skipped + '\n';
        }
        for (const char *phone : modelPhones)
            text += "TRANSITION " + from + ' ' + from + ' ' + hummed + " g" + phone + '\n';
    }
    text += "FSG_END\n";
    FILE *stream = fmemopen(text.data(), std::size_t(text.size()), "r");
    if (!stream)
        return nullptr;
    const float weight = float(cmd_ln_float32_r(ps_get_config(decoder), "-lw"));
    Fsg fsg(fsg_model_read(stream, ps_get_logmath(decoder), weight));
    std::fclose(stream);
    return fsg;
}

// The whole song decoded once, left and right interleaved: the recognizer hears their mix,
// the voice is listened for in their middle (mid/side, VoiceTrack.h).
std::vector<int16_t> wholeSongInStereo(const QString &audioPath, const CancelToken &cancel)
{
    PcmDecoder audio(audioPath, 2);
    std::vector<int16_t> samples;
    for (;;) {
        cancel.throwIfCancelled();
        const std::vector<int16_t> more = audio.read(std::size_t(30 * PcmDecoder::sampleRate) * 2);
        if (audio.failed())
            throw AlignmentError::failed(QStringLiteral("the audio file could not be decoded."));
        if (more.empty())
            return samples;
        samples.insert(samples.end(), more.begin(), more.end());
    }
}

// The mid channel, (L + R) / 2.
std::vector<int16_t> mixedToMono(const std::vector<int16_t> &stereo)
{
    std::vector<int16_t> mono(stereo.size() / 2);
    for (std::size_t i = 0; i < mono.size(); ++i)
        mono[i] = int16_t((int(stereo[2 * i]) + int(stereo[2 * i + 1])) / 2);
    return mono;
}

struct Work {
    SpeechModel model;
    QString audioPath;
    QStringList lines;
    std::function<void(QString)> onProgress;
    CancelToken cancel;
};

QList<QList<AlignedWord>> alignWords(const Work &work)
{
    QList<QList<AlignedWord>> lines;
    QStringList words;
    for (const QString &line : work.lines) {
        QList<AlignedWord> lineWords;
        for (const QString &word : wordsOf(line)) {
            lineWords << AlignedWord{word, 0, 0, 0};
            words << word;
        }
        lines << lineWords;
    }
    const Config config = configFor(work.model);
    const Decoder decoder(config ? ps_init(config.get()) : nullptr);
    if (!decoder)
        throw TranscriptionError::noEngineAvailable();
    const auto lookup = [&](const QString &spelling) -> std::optional<QStringList> {
        char *phones = ps_lookup_word(decoder.get(), spelling.toUtf8().constData());
        if (!phones)
            return std::nullopt;
        const QStringList list = QString::fromUtf8(phones).split(QLatin1Char(' '), Qt::SkipEmptyParts);
        std::free(phones);
        return list;
    };
    const QString voice = guessVoice(words);
    const std::optional<QList<QStringList>> phones = pronounce(words, voice, lookup);
    if (!phones)
        throw AlignmentError::failed(QStringLiteral("espeak-ng could not say the words."));

    // Each sung word is a dictionary entry of its own, named by its place in the lyrics, so
    // the recognizer's answer says which occurrence of a repeated word it heard.
    QStringList wordNames;
    for (qsizetype i = 0; i < words.size(); ++i) {
        QStringList sounds;
        for (const QString &phone : phones->at(i))
            sounds << phoneName(phone);
        if (sounds.isEmpty())
            continue;
        const QString name = QStringLiteral("w%1").arg(i);
        if (ps_add_word(decoder.get(), name.toUtf8().constData(), sounds.join(QLatin1Char(' ')).toUtf8().constData(),
                        FALSE)
            < 0)
            continue;
        wordNames << name;

    }
    if (wordNames.isEmpty())
        throw AlignmentError::notFound();
    for (const char *phone : modelPhones)
        ps_add_word(decoder.get(), (QByteArray("g") + phone).constData(), phone, FALSE);
    const std::vector<int16_t> stereo = wholeSongInStereo(work.audioPath, work.cancel);
    const std::vector<int16_t> samples = mixedToMono(stereo);
    const double duration = double(samples.size()) / PcmDecoder::sampleRate;

    // Where each line's words start in the flat word list.
    QList<qsizetype> lineOf(words.size());
    QList<qsizetype> placeInLine(words.size());
    for (qsizetype line = 0, flat = 0; line < lines.size(); ++line)
        for (qsizetype place = 0; place < lines.at(line).size(); ++place, ++flat) {
            lineOf[flat] = line;
            placeInLine[flat] = place;
        }
    const double frameRate = cmd_ln_int32_r(ps_get_config(decoder.get()), "-frate");
    const Fsg grammar = lyricsGrammar(decoder.get(), wordNames);
    if (!grammar || ps_set_fsg(decoder.get(), "lyrics", grammar.get()) < 0 || ps_set_search(decoder.get(), "lyrics") < 0)
        throw AlignmentError::failed(QStringLiteral("the speech recognizer did not take the lyrics."));
    if (ps_start_utt(decoder.get()) < 0)
        throw AlignmentError::failed(QStringLiteral("the speech recognizer stopped with an error."));
    int told = -1;
    for (std::size_t at = 0; at < samples.size(); at += blockSamples) {
        work.cancel.throwIfCancelled();
        const std::size_t count = std::min(blockSamples, samples.size() - at);
        if (ps_process_raw(decoder.get(), samples.data() + at, count, FALSE, FALSE) < 0)
            throw AlignmentError::failed(QStringLiteral("the speech recognizer stopped with an error."));
        const int percent = int(100.0 * double(at + count) / double(samples.size()));
        if (percent != told && work.onProgress) {
            told = percent;
            work.onProgress(QStringLiteral("Aligning lyrics %1%").arg(percent));
        }
    }
    // The best (Viterbi) path's word segments are read before the utterance ends: an ended
    // utterance only answers with a path through the whole grammar, and the song may hold
    // fewer words than the lyrics.
    qsizetype found = 0;
    for (ps_seg_t *segment = ps_seg_iter(decoder.get()); segment; segment = ps_seg_next(segment)) {
        const QString token = QString::fromUtf8(ps_seg_word(segment));
        if (!token.startsWith(QLatin1Char('w')))
            continue;
        bool isNumber = false;
        const qsizetype flat = token.mid(1).toLongLong(&isNumber);
        if (!isNumber || flat < 0 || flat >= words.size())
            continue;
        int first = 0;
        int last = 0;
        ps_seg_frames(segment, &first, &last);
        const double start = first / frameRate;
        const double end = std::max(first, last + 1) / frameRate;
        if (end - start > longestWord)
            continue;
        AlignedWord &word = lines[lineOf[flat]][placeInLine[flat]];
        word.start = start;
        word.end = end;
        word.confidence = 1;
        ++found;
    }
    if (ps_end_utt(decoder.get()) < 0)
        throw AlignmentError::failed(QStringLiteral("the speech recognizer stopped with an error."));
    const bool heardEnough = double(found) >= leastFoundShare * double(wordNames.size());
    if (heardEnough && found == words.size())
        return SpeechAligner::fillUnplaced(lines, duration);
    if (heardEnough)
        lines = SpeechAligner::dropStrayWords(lines);
    // The words not heard, or all of them when too few were heard to trust, are followed
    // through the song as espeak-ng speaks them (DTW on MFCCs and mid loudness), held near
    // the words heard, when the song follows the lyrics in their order better than out of it
    // (with a loose mid/side mask or a strict one, whichever tells the order better);
    // spreading them evenly between heard neighbours, or laying lines by loudness alone (a
    // semi-Markov Viterbi layout), is the last resort.
    if (work.onProgress)
        work.onProgress(QStringLiteral("Placing lyric lines where the voice sings"));
    const std::optional<SpokenLyrics> spoken = speakLyrics(work.lines, voice, work.cancel);
    const std::optional<HeardInOrder> heard = spoken ? hearingFollowingOrder(stereo, *spoken, work.cancel) : std::nullopt;
    if (heard)
        if (auto followed = warpSpokenOntoSong(heard->song, *spoken, work.lines, work.cancel,
                                               heardEnough ? lines : QList<QList<AlignedWord>>{},
                                               heard->following.holdPrice))
            return *followed;
    if (heardEnough)
        return SpeechAligner::fillUnplaced(lines, duration);
    const std::optional<QList<QList<AlignedWord>>> byVoice
        = layLinesOnVoice(heard ? heard->song : listenForVoice(stereo, work.cancel), work.lines);
    if (!byVoice)
        throw AlignmentError::notFound();
    return *byVoice;
}

} // namespace

SpeechAligner::SpeechAligner(SpeechModel model)
    : m_model(std::move(model))
{
}

bool SpeechAligner::isAvailable() const
{
    return m_model.filesExist() && !QStandardPaths::findExecutable(QStringLiteral("espeak-ng")).isEmpty();
}

QCoro::Task<QList<QList<AlignedWord>>> SpeechAligner::align(QString audioPath, QStringList lines,
                                                            std::function<void(QString)> onProgress,
                                                            CancelToken cancel)
{
    if (!m_model.filesExist())
        throw TranscriptionError::noEngineAvailable();
    cancel.throwIfCancelled();
    auto aligning
        = onWorkerThread([work = Work{m_model, audioPath, lines, onProgress, cancel}] { return alignWords(work); });
    co_return co_await aligning;
}

QList<QList<AlignedWord>> SpeechAligner::dropStrayWords(QList<QList<AlignedWord>> lines)
{
    struct Found {
        AlignedWord *word;
        int syllablesBefore; // lyric syllables sung before this word in the whole song
    };
    std::vector<Found> found;
    int syllables = 0;
    for (QList<AlignedWord> &line : lines)
        for (AlignedWord &word : line) {
            if (word.confidence > 0)
                found.push_back({&word, syllables});
            syllables += syllableCount(word.text);
        }
    // How far apart two found words may lie: a breath or a short break, and a slow syllable
    // for every syllable between them.
    const auto near = [&](const Found &earlier, const Found &later) {
        const int between = later.syllablesBefore - earlier.syllablesBefore - syllableCount(earlier.word->text);
        return later.word->start - earlier.word->end <= strayGap + strayPerSyllable * std::max(0, between);
    };
    std::vector<bool> stray(found.size(), false);
    for (std::size_t i = 0; i < found.size(); ++i) {
        const bool hasBefore = i > 0;
        const bool hasAfter = i + 1 < found.size();
        stray[i] = (hasBefore || hasAfter) && !(hasBefore && near(found[i - 1], found[i]))
                   && !(hasAfter && near(found[i], found[i + 1]));
    }
    for (std::size_t i = 0; i < found.size(); ++i)
        if (stray[i])
            found[i].word->confidence = 0;
    return lines;
}

QList<QList<AlignedWord>> SpeechAligner::fillUnplaced(QList<QList<AlignedWord>> lines, double duration,
                                                      double guessedLength)
{
    struct Place {
        qsizetype line;
        qsizetype word;
    };
    std::vector<Place> order;
    for (qsizetype line = 0; line < lines.size(); ++line)
        for (qsizetype word = 0; word < lines.at(line).size(); ++word)
            order.push_back({line, word});
    const auto at = [&](std::size_t i) -> AlignedWord & { return lines[order[i].line][order[i].word]; };
    std::vector<std::size_t> found;
    for (std::size_t i = 0; i < order.size(); ++i)
        if (at(i).confidence > 0)
            found.push_back(i);
    if (found.empty())
        throw AlignmentError::notFound();

    // Consecutive words `first`..`last` (inclusive) laid evenly over [from, to].
    const auto spread = [&](std::size_t first, std::size_t last, double from, double to) {
        const double step = (to - from) / double(last - first + 1);
        for (std::size_t i = first; i <= last; ++i) {
            at(i).start = from + step * double(i - first);
            at(i).end = at(i).start + std::min(step, guessedLength);
        }
    };
    // Runs of unplaced words between found ones (and before the first, after the last).
    std::vector<std::size_t> bounds{std::size_t(-1)};
    bounds.insert(bounds.end(), found.begin(), found.end());
    bounds.push_back(order.size());
    for (std::size_t b = 0; b + 1 < bounds.size(); ++b) {
        const std::size_t before = bounds[b];
        const std::size_t after = bounds[b + 1];
        const bool hasBefore = before != std::size_t(-1);
        const bool hasAfter = after != order.size();
        std::size_t first = hasBefore ? before + 1 : 0;
        std::size_t last = after; // one past
        if (first >= last)
            continue;
        double from = hasBefore ? at(before).end : 0.0;
        double to = hasAfter ? at(after).start : duration;
        // The rest of the found word's own line follows it closely.
        while (hasBefore && first < last && order[first].line == order[before].line) {
            at(first).start = std::min(from, to);
            at(first).end = std::min(from + guessedLength, to);
            from = at(first).end;
            ++first;
        }
        // The start of the next found word's line comes just before it.
        std::size_t tail = last;
        double until = to;
        while (hasAfter && tail > first && order[tail - 1].line == order[after].line) {
            --tail;
            at(tail).end = std::max(until, from);
            at(tail).start = std::max(until - guessedLength, from);
            until = at(tail).start;
        }
        if (first < tail)
            spread(first, tail - 1, from, std::max(until, from));
    }
    return lines;
}

} // namespace quillvane
