#include "audio/SpeechTranscriber.h"

#include "audio/PcmDecoder.h"
#include "audio/TranscriptionError.h"
#include "av/OffThread.h"

#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <QStandardPaths>
#include <QStringList>

#include <pocketsphinx.h>
#include <sphinxbase/err.h>

#include <algorithm>
#include <limits>
#include <memory>
#include <mutex>
#include <numeric>
#include <span>
#include <vector>

namespace quillvane {

namespace {

// About the grain of whisper's segments, so the timing run sees the same kind of chunks
// whichever engine heard the song.
constexpr int wordsPerChunk = 6;

// The recognizer hears a song one piece at a time, each piece its own utterance: memory stays
// flat however long the song, and the end of an utterance, where PocketSphinx makes its final
// pass over everything heard, never takes long. A piece runs up to 30 s and ends at the
// quietest point of its last 10 s, so that a cut falls between words rather than through one.
constexpr std::size_t pieceSamples = 30 * PcmDecoder::sampleRate;
constexpr std::size_t cutSearchSamples = 10 * PcmDecoder::sampleRate;
constexpr std::size_t quietWindowSamples = PcmDecoder::sampleRate / 10;
// Samples handed to the recognizer at once: the cancel token is looked at between blocks, so
// this is about how long a cancel waits.
constexpr std::size_t blockSamples = PcmDecoder::sampleRate / 2;

struct ConfigFreer {
    void operator()(cmd_ln_t *config) const { cmd_ln_free_r(config); }
};
struct DecoderFreer {
    void operator()(ps_decoder_t *decoder) const { ps_free(decoder); }
};
using Config = std::unique_ptr<cmd_ln_t, ConfigFreer>;
using Decoder = std::unique_ptr<ps_decoder_t, DecoderFreer>;

// PocketSphinx reports every model it loads and every utterance it hears on stderr; the
// application's and the command line's output stay their own.
void silenceRecognizerLogs()
{
    static std::once_flag silenced;
    std::call_once(silenced, [] { err_set_logfp(nullptr); });
}

// Only the configuration: making it reads no model file and takes well under a millisecond,
// while a whole decoder loads the language model.
Config configFor(const SpeechModel &model)
{
    silenceRecognizerLogs();
    const QByteArray acoustic = QFile::encodeName(model.acousticModel);
    const QByteArray language = QFile::encodeName(model.languageModel);
    const QByteArray dictionary = QFile::encodeName(model.dictionary);
    // With silence removal on, this PocketSphinx numbers the frames after a silence wrongly
    // (a word spoken at 4 s came out at 10 s), so every frame is kept. Music keeps far more
    // word candidates alive than speech does; capping them a frame (3000 phone models, 5 word
    // ends) hears the same words about three times as fast.
    return Config(cmd_ln_init(nullptr, ps_args(), TRUE, "-hmm", acoustic.constData(), "-lm", language.constData(),
                              "-dict", dictionary.constData(), "-remove_silence", "no", "-maxhmmpf", "3000",
                              "-maxwpf", "5", nullptr));
}

Decoder decoderFor(const SpeechModel &model)
{
    const Config config = configFor(model);
    // The decoder keeps a reference of its own to the configuration.
    return Decoder(config ? ps_init(config.get()) : nullptr);
}

TranscriptionError recognizerFailed()
{
    return TranscriptionError::failed(QStringLiteral("the speech recognizer stopped with an error."));
}

// Where a full piece ends: in the middle of its quietest tenth of a second within the last
// ten seconds (a breath, a pause between lines).
std::size_t quietestCut(std::span<const int16_t> piece)
{
    std::size_t best = piece.size() - cutSearchSamples;
    double bestEnergy = std::numeric_limits<double>::infinity();
    for (std::size_t window = best; window + quietWindowSamples <= piece.size(); window += quietWindowSamples) {
        const auto samples = piece.subspan(window, quietWindowSamples);
        const double energy = std::inner_product(samples.begin(), samples.end(), samples.begin(), 0.0);
        if (energy < bestEnergy) {
            bestEnergy = energy;
            best = window;
        }
    }
    return best + quietWindowSamples / 2;
}

// The words of the utterance just ended, timed from the start of the file.
void collectWords(ps_decoder_t *decoder, double offset, QList<TimedChunk> &words)
{
    const double frameRate = cmd_ln_int32_r(ps_get_config(decoder), "-frate");
    for (ps_seg_t *segment = ps_seg_iter(decoder); segment; segment = ps_seg_next(segment)) {
        const std::optional<QString> word = SpeechTranscriber::spokenWord(QString::fromUtf8(ps_seg_word(segment)));
        if (!word)
            continue;
        // Frame numbers count from the utterance's start; the end frame is the last one the
        // word is heard in, so the word lasts until that frame is over.
        int first = 0;
        int last = 0;
        ps_seg_frames(segment, &first, &last);
        words << TimedChunk{*word, offset + first / frameRate, offset + std::max(first, last + 1) / frameRate};
    }
}

// One piece as one utterance, starting `offset` samples into the file.
void recognizePiece(ps_decoder_t *decoder, std::span<const int16_t> piece, std::size_t offset,
                    const CancelToken &cancel, QList<TimedChunk> &words)
{
    if (piece.empty())
        return;
    // A stream of its own for every piece: within one stream this PocketSphinx counts frames
    // on across utterances but loses a tenth of a second at each utterance's end, so word
    // times are counted from the piece's first sample instead.
    if (ps_start_stream(decoder) < 0 || ps_start_utt(decoder) < 0)
        throw recognizerFailed();
    for (std::size_t at = 0; at < piece.size(); at += blockSamples) {
        cancel.throwIfCancelled();
        const auto block = piece.subspan(at, std::min(blockSamples, piece.size() - at));
        if (ps_process_raw(decoder, block.data(), block.size(), FALSE, FALSE) < 0)
            throw recognizerFailed();
    }
    if (ps_end_utt(decoder) < 0)
        throw recognizerFailed();
    collectWords(decoder, double(offset) / PcmDecoder::sampleRate, words);
}

// The whole file, piece by piece; runs on a worker thread.
QList<TimedChunk> recognizeWords(const SpeechModel &model, const QString &audioPath, const CancelToken &cancel)
{
    const Decoder decoder = decoderFor(model);
    if (!decoder)
        throw TranscriptionError::noEngineAvailable();
    PcmDecoder audio(audioPath);
    QList<TimedChunk> words;
    std::vector<int16_t> piece;
    std::size_t pieceStart = 0;
    for (bool ended = false; !ended;) {
        cancel.throwIfCancelled();
        const std::vector<int16_t> more = audio.read(pieceSamples - piece.size());
        if (audio.failed())
            throw TranscriptionError::failed(QStringLiteral("the audio file could not be decoded."));
        piece.insert(piece.end(), more.begin(), more.end());
        ended = piece.size() < pieceSamples;
        const std::size_t cut = ended ? piece.size() : quietestCut(piece);
        recognizePiece(decoder.get(), std::span(piece).first(cut), pieceStart, cancel, words);
        // What follows the cut opens the next piece.
        pieceStart += cut;
        piece.erase(piece.begin(), piece.begin() + std::ptrdiff_t(cut));
    }
    return words;
}

QString joinedTexts(const QList<TimedChunk> &words)
{
    QStringList texts;
    texts.reserve(words.size());
    for (const TimedChunk &word : words)
        texts << word.text;
    return texts.join(QLatin1Char(' '));
}

} // namespace

SpeechModel SpeechModel::installed()
{
    const QString folder = QStandardPaths::locate(QStandardPaths::GenericDataLocation,
                                                  QStringLiteral("pocketsphinx/model/en-us"),
                                                  QStandardPaths::LocateDirectory);
    if (folder.isEmpty())
        return {};
    return {folder + QStringLiteral("/en-us"), folder + QStringLiteral("/en-us.lm.bin"),
            folder + QStringLiteral("/cmudict-en-us.dict")};
}

bool SpeechModel::filesExist() const
{
    const QStringList paths{acousticModel, languageModel, dictionary};
    return std::all_of(paths.begin(), paths.end(),
                       [](const QString &path) { return !path.isEmpty() && QFileInfo::exists(path); });
}

SpeechTranscriber::SpeechTranscriber(SpeechModel model)
    : m_model(std::move(model))
{
}

bool SpeechTranscriber::isAvailable() const
{
    // There is no permission to ask for on this platform: the model being there is enough.
    return m_model.filesExist() && configFor(m_model) != nullptr;
}

QCoro::Task<TranscriptionResult> SpeechTranscriber::transcribe(QString audioPath, std::function<void(QString)>,
                                                               CancelToken cancel)
{
    if (!m_model.filesExist())
        throw TranscriptionError::noEngineAvailable();
    cancel.throwIfCancelled();
    auto recognizing
        = onWorkerThread([model = m_model, audioPath, cancel] { return recognizeWords(model, audioPath, cancel); });
    const QList<TimedChunk> words = co_await recognizing;
    co_return TranscriptionResult{joinedTexts(words), groupWords(words, wordsPerChunk)};
}

QList<TimedChunk> SpeechTranscriber::groupWords(const QList<TimedChunk> &words, int size)
{
    const qsizetype groupSize = std::max(size, 1);
    QList<TimedChunk> chunks;
    for (qsizetype first = 0; first < words.size(); first += groupSize) {
        const QList<TimedChunk> group = words.mid(first, groupSize);
        chunks << TimedChunk{joinedTexts(group), group.front().start, group.back().end};
    }
    return chunks;
}

std::optional<QString> SpeechTranscriber::spokenWord(const QString &token)
{
    const auto enclosed = [&](const char *open, const char *close) {
        const QLatin1String opening(open);
        const QLatin1String closing(close);
        return token.size() >= opening.size() + closing.size() && token.startsWith(opening) && token.endsWith(closing);
    };
    // Sentence and silence marks (<s>, </s>, <sil>), noises ([NOISE]) and fillers (++UM++).
    if (enclosed("<", ">") || enclosed("[", "]") || enclosed("++", "++"))
        return std::nullopt;
    static const QRegularExpression alternatePronunciation(QStringLiteral("\\(\\d+\\)$"));
    QString word = token;
    word.remove(alternatePronunciation);
    if (word.isEmpty())
        return std::nullopt;
    return word;
}

} // namespace quillvane
