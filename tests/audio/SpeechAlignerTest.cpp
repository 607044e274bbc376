// The built-in word aligner with the real PocketSphinx model and espeak-ng, on recordings
// made here: every word spoken by espeak-ng on its own and laid at a known time over a
// synthesised band (bass, chord, kick drum), so each word's true start is known.

#include "audio/PcmDecoder.h"
#include "audio/Pronunciation.h"
#include "audio/SpeechAligner.h"
#include "audio/TranscriptionError.h"
#include "audio/SpokenWarp.h"
#include "audio/VoiceLayout.h"
#include "store/BlockingWait.h"
#include "support/Fixtures.h"

#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QtEndian>

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <numbers>
#include <vector>

using namespace quillvane;

namespace {

constexpr int rate = 22050; // espeak-ng's own rate

// `signal` holds `channels` interleaved channels.
bool writeWav(const QString &path, const std::vector<float> &signal, quint16 channels = 1)
{
    QByteArray data;
    for (const float value : signal) {
        const auto sample = qToLittleEndian(int16_t(std::clamp(value, -32767.0f, 32767.0f)));
        data.append(reinterpret_cast<const char *>(&sample), 2);
    }
    const auto u32 = [](quint32 v) { v = qToLittleEndian(v); return QByteArray(reinterpret_cast<const char *>(&v), 4); };
    const auto u16 = [](quint16 v) { v = qToLittleEndian(v); return QByteArray(reinterpret_cast<const char *>(&v), 2); };
    QFile file(path);
    return file.open(QIODevice::WriteOnly)
        && file.write("RIFF" + u32(quint32(36 + data.size())) + "WAVEfmt " + u32(16) + u16(1) + u16(channels) + u32(rate)
                      + u32(rate * 2 * channels) + u16(2 * channels) + u16(16) + "data" + u32(quint32(data.size())) + data)
        > 0;
}

// The word as espeak-ng says it (a plain 44-byte header before 16-bit mono samples), without
// the quiet before its first sound.
std::vector<int16_t> spoken(const QTemporaryDir &folder, const QString &word, const QString &voice)
{
    const QString path = folder.filePath(QStringLiteral("word.wav"));
    QProcess::execute(QStringLiteral("espeak-ng"), {QStringLiteral("-v"), voice, QStringLiteral("-s"),
                                                    QStringLiteral("150"), QStringLiteral("-w"), path, word});
    const QByteArray bytes = test::readFile(path);
    std::vector<int16_t> samples(std::size_t(std::max<qsizetype>(bytes.size() - 44, 0) / 2));
    std::memcpy(samples.data(), bytes.constData() + std::min<qsizetype>(bytes.size(), 44), samples.size() * 2);
    samples.erase(samples.begin(), std::find_if(samples.begin(), samples.end(), [](int16_t s) { return std::abs(s) > 600; }));
    return samples;
}

// A band under everything: a bass note and a chord changing every two seconds and a kick
// drum on every beat, well under the voice; `notes` 1 leaves the chord to the guitars.
std::vector<float> band(double seconds, std::size_t notes = 3)
{
    std::vector<float> signal(std::size_t(seconds * rate));
    const double chords[][3] = {{110, 220, 277}, {98, 196, 247}, {87, 174, 220}, {98, 196, 294}};
    for (std::size_t i = 0; i < signal.size(); ++i) {
        const double t = double(i) / rate;
        const auto &chord = chords[std::size_t(t / 2) % 4];
        double value = 0;
        for (std::size_t note = 0; note < notes; ++note)
            value += 600 * std::sin(2 * std::numbers::pi * chord[note] * t);
        const double beat = std::fmod(t, 0.5);
        value += 2500 * std::exp(-beat * 30) * std::sin(2 * std::numbers::pi * 55 * beat);
        signal[i] = float(value);
    }
    return signal;
}

// Guitars spread to the sides as a mix spreads them: on each side its own notes, rich in
// overtones through the voice's band, played as eighths.
float sideGuitar(double t, int side)
{
    const double roots[] = {220, 196, 175, 196};
    const double root = roots[std::size_t(t / 2) % 4] * (side == 0 ? 1.0 : 1.5);
    const double pluck = std::exp(-std::fmod(t, 0.25) * 8);
    double value = 0;
    for (int overtone = 1; overtone <= 12; ++overtone)
        value += 500.0 / overtone * std::sin(2 * std::numbers::pi * root * overtone * t + side);
    return float(pluck * value);
}

struct Recording {
    QString path;
    QStringList lines;
    std::vector<double> wordStarts;
};

// A lead guitar's fills, loud and panned only a little off the middle (its right side at 0.6
// of its left), played in the intro and the breaks.
float nearMiddleFill(double t, int side)
{
    return float((side == 0 ? 6.0 : 3.6) * sideGuitar(t * 1.5, 0));
}

// The lines' words one after another with a short gap, `pause` seconds of band between lines:
// the voice, bass and drum in the middle, a guitar on each side; with `fills`, a lead guitar
// near the middle plays whenever the voice rests.
Recording record(const QTemporaryDir &folder, const QStringList &lines, const QString &voice, double intro = 2.5,
                 double pause = 2.0, bool fills = false)
{
    Recording recording{folder.filePath(voice + QStringLiteral(".wav")), lines, {}};
    std::vector<std::vector<int16_t>> words;
    double at = intro;
    for (const QString &line : lines) {
        for (const QString &word : line.split(QLatin1Char(' '))) {
            words.push_back(spoken(folder, word, voice));
            recording.wordStarts.push_back(at);
            at += double(words.back().size()) / rate + 0.12;
        }
        at += pause;
    }
    std::vector<float> middle = band(at + 1.0, 1);
    for (std::size_t w = 0; w < words.size(); ++w) {
        const auto offset = std::size_t(recording.wordStarts[w] * rate);
        for (std::size_t i = 0; i < words[w].size() && offset + i < middle.size(); ++i)
            middle[offset + i] += float(words[w][i]);
    }
    std::vector<bool> resting(middle.size(), true);
    std::fill(resting.begin(), resting.begin() + std::ptrdiff_t(std::min(std::size_t(intro * rate), resting.size())), false);
    for (std::size_t w = 0; w < words.size(); ++w) {
        const auto offset = std::size_t(recording.wordStarts[w] * rate);
        std::fill(resting.begin() + std::ptrdiff_t(std::min(offset, resting.size())),
                  resting.begin() + std::ptrdiff_t(std::min(offset + words[w].size() + rate / 5, resting.size())), false);
    }
    std::vector<float> signal;
    for (std::size_t i = 0; i < middle.size(); ++i)
        for (int side = 0; side < 2; ++side)
            signal.push_back(middle[i] + sideGuitar(double(i) / rate, side)
                             + (fills && resting[i] ? nearMiddleFill(double(i) / rate, side) : 0.0F));
    if (!writeWav(recording.path, signal, 2))
        recording.path.clear();
    return recording;
}

const struct {
    const char *voice;
    QStringList lines;
} sungLines[] = {
    {"en-us", {QStringLiteral("city lights are burning low"), QStringLiteral("down the road we used to know"),
               QStringLiteral("hold my hand and don't let go")}},
    {"fr", {QStringLiteral("je marche dans la ville"), QStringLiteral("les lumières sont belles ce soir"),
            QStringLiteral("et tu chantes avec moi")}},
    {"de", {QStringLiteral("wir gehen durch die nacht"), QStringLiteral("die lichter leuchten hell"),
            QStringLiteral("und niemand hält uns auf")}},
};

// Nine words in ten aligned within 0.3 s of where they are sung, none a second off; every
// word in order inside the track, whether found or guessed.
void expectWordsWhereSung(SpeechAligner &aligner, const Recording &recording, const std::string &what)
{
    const double length = double(QFileInfo(recording.path).size() - 44) / 4 / rate;
    QStringList progress;
    QList<QList<AlignedWord>> aligned;
    try {
        aligned = blockingWait(aligner.align(recording.path, recording.lines, [&](QString status) { progress << status; }, {}));
    } catch (const AlignmentError &error) {
        ADD_FAILURE() << what << ": " << error.description().toStdString();
        return;
    }
    ASSERT_EQ(aligned.size(), recording.lines.size()) << what;
    std::size_t count = 0;
    std::size_t near = 0;
    double previous = 0;
    for (const QList<AlignedWord> &line : aligned)
        for (const AlignedWord &word : line) {
            const std::string where = what + " " + word.text.toStdString();
            EXPECT_GE(word.start, previous) << where;
            EXPECT_GE(word.end, word.start) << where;
            EXPECT_LE(word.end, length + 0.01) << where;
            previous = word.start;
            ASSERT_LT(count, recording.wordStarts.size()) << what;
            const double off = std::abs(word.start - recording.wordStarts[count++]);
            near += off <= 0.3 ? 1 : 0;
            EXPECT_LT(off, 1.0) << where;
        }
    ASSERT_EQ(count, recording.wordStarts.size()) << what;
    EXPECT_GE(double(near), 0.9 * double(count)) << what;
    EXPECT_TRUE(progress.contains(QStringLiteral("Aligning lyrics 100%"))) << what;
}

} // namespace

// The lyrics of each language recorded twice: with the band's breaks between lines, and sung
// back to back, where only the sounds tell one line from the next. The spoken lyrics followed
// through the song start every line where it is sung, and so they do when some words were
// heard already; the song follows the lyrics as written and not the same lines reversed. With
// the breaks, lines laid by the voice alone start where their voice starts, and the aligner
// places each English and French word where it is sung.
TEST(SungLyrics, EveryLineAndWordStartsWhereItIsSung)
{
    if (QStandardPaths::findExecutable(QStringLiteral("espeak-ng")).isEmpty())
        GTEST_SKIP() << "espeak-ng is not installed";
    SpeechAligner aligner;
    QTemporaryDir folder;
    for (const double pause : {2.0, 0.12})
        for (const auto &c : sungLines) {
            const QString voice = QString::fromLatin1(c.voice);
            const std::string what = std::string(c.voice) + " pause " + std::to_string(pause);
            const Recording recording = record(folder, c.lines, voice, 2.5, pause);
            ASSERT_FALSE(recording.path.isEmpty()) << what;
            const std::optional<SpokenLyrics> template_ = speakLyrics(c.lines, voice, {});
            ASSERT_TRUE(template_) << what;
            const VoiceTrack song = listenForVoice(recording.path, {});
            EXPECT_TRUE(holdPriceFollowingOrder(song, *template_, {})) << what;
            const QStringList reversed(c.lines.rbegin(), c.lines.rend());
            EXPECT_FALSE(holdPriceFollowingOrder(song, *speakLyrics(reversed, voice, {}), {})) << what;
            const auto laid = warpSpokenOntoSong(song, *template_, c.lines, {});
            ASSERT_TRUE(laid) << what;
            ASSERT_EQ(laid->size(), c.lines.size()) << what;
            // Each line's last word heard where it is sung, a second long: it stays as heard
            // and the words before it follow the song up to it, in order.
            QList<QList<AlignedWord>> heard = *laid;
            std::size_t word = 0;
            for (QList<AlignedWord> &line : heard)
                for (qsizetype place = 0; place < line.size(); ++place, ++word)
                    line[place] = place + 1 == line.size()
                        ? AlignedWord{line[place].text, recording.wordStarts[word], recording.wordStarts[word] + 1, 1}
                        : AlignedWord{line[place].text, 0, 0, 0};
            const auto held = warpSpokenOntoSong(song, *template_, c.lines, {}, heard);
            ASSERT_TRUE(held) << what;
            // Lines laid by the voice alone, where no word is heard, with the breaks to go by.
            const auto byVoice = pause > 1 ? layLinesOnVoice(song, c.lines) : std::nullopt;
            ASSERT_TRUE(byVoice || pause < 1) << what;
            std::size_t first = 0;
            double previous = 0;
            for (qsizetype line = 0; line < held->size(); ++line) {
                for (const auto *placed : {&laid->at(line).front(), &held->at(line).front()})
                    EXPECT_NEAR(placed->start, recording.wordStarts[first], 0.7) << what << " " << placed->text.toStdString();
                if (byVoice) {
                    EXPECT_NEAR(byVoice->value(line).value(0).start, recording.wordStarts[first], 0.5) << what << " by voice";
                }
                EXPECT_EQ(held->at(line).back(), heard.at(line).back()) << what;
                for (const AlignedWord &placed : held->at(line)) {
                    EXPECT_GE(placed.start, previous) << what << " " << placed.text.toStdString();
                    previous = placed.start;
                }
                first += std::size_t(held->at(line).size());
            }
            if (pause > 1 && aligner.isAvailable() && qstrcmp(c.voice, "de") != 0)
                expectWordsWhereSung(aligner, recording, what);
        }
}

// Silence gives nothing to follow and no voice to lay lines on; the aligner, on silence or on
// the band alone, places whatever it places inside the track, in order, and ends promptly.
TEST(SungLyrics, AudioWithoutTheLyricsGivesNothingOrEndsPromptly)
{
    if (QStandardPaths::findExecutable(QStringLiteral("espeak-ng")).isEmpty())
        GTEST_SKIP() << "espeak-ng is not installed";
    QTemporaryDir folder;
    const QString silence = folder.filePath(QStringLiteral("silence.wav"));
    const QString instrumental = folder.filePath(QStringLiteral("band.wav"));
    ASSERT_TRUE(writeWav(silence, std::vector<float>(10 * rate)));
    ASSERT_TRUE(writeWav(instrumental, band(20)));
    const QStringList lyrics{QStringLiteral("city lights are burning low"), QStringLiteral("down the road")};
    const VoiceTrack quiet = listenForVoice(silence, {});
    const std::optional<SpokenLyrics> spoken = speakLyrics(lyrics, QStringLiteral("en-us"), {});
    ASSERT_TRUE(spoken);
    EXPECT_FALSE(warpSpokenOntoSong(quiet, *spoken, lyrics, {}));
    EXPECT_FALSE(holdPriceFollowingOrder(quiet, *spoken, {}));
    EXPECT_FALSE(layLinesOnVoice(quiet, lyrics));

    SpeechAligner aligner;
    if (!aligner.isAvailable())
        GTEST_SKIP() << "the speech model is not installed";
    for (const QString &path : {silence, instrumental}) {
        QElapsedTimer timer;
        timer.start();
        try {
            const QList<QList<AlignedWord>> aligned = blockingWait(aligner.align(path, lyrics, {}, {}));
            ASSERT_EQ(aligned.size(), lyrics.size());
            double last = 0;
            for (const auto &line : aligned)
                for (const AlignedWord &word : line) {
                    EXPECT_GE(word.start, last);
                    EXPECT_LE(word.end, 20.0);
                    last = word.start;
                }
        } catch (const AlignmentError &) {
        }
        EXPECT_LT(timer.elapsed(), 30000) << path.toStdString();
    }
}

// A lead guitar near the middle filling every break sounds, in a loose middle, as loud as the
// voice and draws lines into the breaks: the song is followed through the hearing that leaves
// the voice alone, and its lines start nearer where they are sung than in the loose hearing.
TEST(SpokenWarp, AGuitarNearTheMiddleIsNotTakenForTheVoice)
{
    if (QStandardPaths::findExecutable(QStringLiteral("espeak-ng")).isEmpty())
        GTEST_SKIP() << "espeak-ng is not installed";
    QTemporaryDir folder;
    for (const auto &c : sungLines) {
        const QString voice = QString::fromLatin1(c.voice);
        const Recording recording = record(folder, c.lines, voice, 2.5, 4.0, true);
        ASSERT_FALSE(recording.path.isEmpty()) << c.voice;
        PcmDecoder decoder(recording.path, 2);
        std::vector<int16_t> stereo;
        for (std::vector<int16_t> block; !(block = decoder.read(std::size_t(PcmDecoder::sampleRate) * 2)).empty();)
            stereo.insert(stereo.end(), block.begin(), block.end());
        const std::optional<SpokenLyrics> template_ = speakLyrics(c.lines, voice, {});
        ASSERT_TRUE(template_) << c.voice;
        const auto lineStartError = [&](const VoiceTrack &song, double holdPrice) {
            const auto laid = warpSpokenOntoSong(song, *template_, c.lines, {}, {}, holdPrice);
            if (!laid)
                return std::numeric_limits<double>::infinity();
            double error = 0;
            std::size_t first = 0;
            for (const QList<AlignedWord> &line : *laid) {
                error += std::abs(line.front().start - recording.wordStarts[first]);
                first += std::size_t(line.size());
            }
            return error / double(laid->size());
        };
        const std::optional<HeardInOrder> heard = hearingFollowingOrder(stereo, *template_, {});
        ASSERT_TRUE(heard) << c.voice;
        const VoiceTrack loosely = listenForVoice(stereo, {}, looseMiddle);
        const std::optional<Following> loose = holdPriceFollowingOrder(loosely, *template_, {});
        const double chosenError = lineStartError(heard->song, heard->following.holdPrice);
        EXPECT_LT(chosenError, loose ? lineStartError(loosely, loose->holdPrice) : 1e9) << c.voice;
        EXPECT_LT(chosenError, 1.5) << c.voice;
    }
}

TEST(SpeechAligner, FillsUnplacedWordsBetweenFoundNeighbours)
{
    const auto found = [](double start, double end) { return AlignedWord{QStringLiteral("w"), start, end, 1}; };
    const AlignedWord missing{QStringLiteral("w"), 0, 0, 0};
    const QList<QList<AlignedWord>> filled = SpeechAligner::fillUnplaced(
        {{missing, found(2, 2.5), missing}, {missing, missing}, {missing, found(10, 10.5)}, {missing}}, 12, 0.4);
    const QList<QList<double>> starts = {{1.6, 2, 2.5}, {2.9, 6.25}, {9.6, 10}, {10.5}};
    for (qsizetype line = 0; line < starts.size(); ++line)
        for (qsizetype word = 0; word < starts[line].size(); ++word)
            EXPECT_NEAR(filled[line][word].start, starts[line][word], 1e-9) << line << " " << word;
    EXPECT_EQ(filled[3][0].end, 10.9);
    EXPECT_THROW(SpeechAligner::fillUnplaced({{missing}}, 5), AlignmentError);
}

TEST(SpeechAligner, SetsBackFoundWordsFarFromEveryOtherFoundWord)
{
    // One line: "-" is a word not found, a found word is "text@start".
    struct Case {
        const char *name;
        const char *words;
        QList<bool> kept; // for the found words, in order
    };
    const Case cases[] = {
        {"a short word fitted into the intro", "un@2.4 fantasma que@15.4 se@17.4", {false, true, true}},
        {"the first words after a long break", "a@10 b@10.5 c@60 d@60.5", {true, true, true, true}},
        {"found words far apart with many syllables between", "a@10 - - - - - - - - - - - - b@25", {true, true}},
        {"a lone word between two breaks", "a@10 b@10.5 x@30 c@50 d@50.5", {true, true, false, true, true}},
        {"the only word found", "- a@40 -", {true}},
    };
    for (const Case &c : cases) {
        QList<AlignedWord> line;
        for (const QString &word : QString::fromUtf8(c.words).split(QLatin1Char(' '))) {
            const QStringList parts = word.split(QLatin1Char('@'));
            line << (parts.size() == 2 ? AlignedWord{parts[0], parts[1].toDouble(), parts[1].toDouble() + 0.3, 1}
                                       : AlignedWord{word, 0, 0, 0});
        }
        const QList<QList<AlignedWord>> checked = SpeechAligner::dropStrayWords({line});
        QList<bool> kept;
        for (qsizetype i = 0; i < line.size(); ++i)
            if (line[i].confidence > 0) {
                kept << (checked[0][i].confidence > 0);
                EXPECT_EQ(checked[0][i].start, line[i].start) << c.name;
            }
        EXPECT_EQ(kept, c.kept) << c.name;
    }
}

TEST(Pronunciation, GuessesTheLanguageAndMapsEspeakIpaOntoTheModelPhones)
{
    const std::pair<const char *, const char *> voices[] = {
        {"soy un fantasma que se asusta de sí mismo", "es"}, {"par jours de grand vent les ondes brumeuses", "fr"},
        {"gerade denk ich mir wie schön das leben ist", "de"}, {"hold my hand and don't let go", "en-us"},
        {"zzz qqq", "en-us"},
    };
    for (const auto &[lyrics, voice] : voices)
        EXPECT_EQ(guessVoice(QString::fromUtf8(lyrics).split(QLatin1Char(' '))), QString::fromLatin1(voice)) << lyrics;
    const std::pair<const char *, const char *> phones[] = {
        {"fantˈasma", "F AA N T AA S M AA"}, {"ʃˈøːn", "SH ER N"}, {"dˈɑ̃", "D AA N"}, {"tʃˈaɪ", "CH AY"}, {"ʁˈɛːv", "R EH V"},
    };
    for (const auto &[ipa, expected] : phones)
        EXPECT_EQ(phonesFromIpa(QString::fromUtf8(ipa)).join(QLatin1Char(' ')), QString::fromLatin1(expected)) << ipa;
}
