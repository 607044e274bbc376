#include "audio/Pronunciation.h"

#include <QProcess>
#include <QRegularExpression>
#include <QSet>
#include <QStandardPaths>

#include <algorithm>
#include <array>
#include <utility>

namespace quillvane {

namespace {

struct Voice {
    const char *name;
    // Short words common in any lyric of the language.
    const char *commonWords;
    // Letters no other candidate language writes.
    const char *ownLetters;
};

// English first: it wins ties, and nothing found means English.
const std::array<Voice, 6> voices{{
    {"en-us", "the and you i to a of my is it in me that your on for be we all don't i'm with what this can", ""},
    {"fr", "le la les et je tu de des un une que qui pas est il elle nous vous dans pour mon ma ne sur ça c'est j'ai au du on",
     "çèêœû"},
    {"es", "el la los las y que de en un una yo tu mi no es por con para se me te lo como más pero del", "ñ¿¡"},
    {"de", "der die das und ich du nicht ist ein eine mit zu den dem es wir sie auf mich mir dich wie so auch was noch",
     "ßäö"},
    {"it", "il lo la e di che non un una per sono mi ti io tu con è come ma nel della", "ì"},
    {"pt", "o a os as e de que não um uma eu você com para meu minha se do da em é", "ãõ"},
}};

// espeak-ng's IPA symbols and the acoustic model's nearest phones. Longer symbols first where
// one begins another, so that "aɪ" is one phone and not two.
const std::array<std::pair<const char *, const char *>, 73> ipaPhones{{
    {"aɪ", "AY"}, {"aʊ", "AW"}, {"ɔɪ", "OY"}, {"ɔø", "OY"}, {"ɔʏ", "OY"}, {"eɪ", "EY"}, {"oʊ", "OW"},
    {"əʊ", "OW"}, {"ɪə", "IH AH"}, {"eə", "EH AH"}, {"ʊə", "UH AH"}, {"tʃ", "CH"}, {"dʒ", "JH"},
    {"ts", "T S"}, {"pf", "P F"}, {"ɑ̃", "AA N"}, {"ɔ̃", "OW N"}, {"ɛ̃", "EH N"}, {"œ̃", "AH N"},
    {"ɜː", "ER"}, {"ɚ", "ER"}, {"ɝ", "ER"}, {"a", "AA"}, {"ɑ", "AA"}, {"ɒ", "AA"}, {"ɐ", "AH"},
    {"ə", "AH"}, {"ʌ", "AH"}, {"ɜ", "ER"}, {"æ", "AE"}, {"e", "EY"}, {"ɛ", "EH"}, {"i", "IY"},
    {"ɪ", "IH"}, {"ɨ", "IH"}, {"o", "OW"}, {"ɔ", "AO"}, {"u", "UW"}, {"ʊ", "UH"}, {"y", "UW"},
    {"ʏ", "UH"}, {"ø", "ER"}, {"œ", "ER"}, {"p", "P"}, {"b", "B"}, {"β", "B"}, {"t", "T"},
    {"d", "D"}, {"k", "K"}, {"ɡ", "G"}, {"g", "G"}, {"ɣ", "G"}, {"f", "F"}, {"v", "V"},
    {"s", "S"}, {"z", "Z"}, {"ʃ", "SH"}, {"ʒ", "ZH"}, {"θ", "TH"}, {"ð", "DH"}, {"h", "HH"},
    {"x", "HH"}, {"χ", "HH"}, {"ç", "HH"}, {"m", "M"}, {"n", "N"}, {"ɲ", "N Y"}, {"ŋ", "NG"},
    {"l", "L"}, {"ɫ", "L"}, {"ʎ", "L Y"}, {"j", "Y"}, {"ʝ", "Y"},
}};
// Every r sound is the model's R; w-like glides are W.
const QString rSounds = QStringLiteral("rɾɹʁʀɽ");
const QString wSounds = QStringLiteral("wɥʍ");

QSet<QString> wordSet(const char *text)
{
    const QStringList words = QString::fromUtf8(text).split(QLatin1Char(' '), Qt::SkipEmptyParts);
    return {words.begin(), words.end()};
}

} // namespace

QString spellingOf(const QString &word)
{
    static const QRegularExpression edges(QStringLiteral("^[^\\w]+|[^\\w]+$"),
                                          QRegularExpression::UseUnicodePropertiesOption);
    QString spelling = word.toLower();
    spelling.replace(QChar(0x2019), QLatin1Char('\''));
    return spelling.remove(edges);
}

QString guessVoice(const QStringList &words)
{
    std::array<int, voices.size()> scores{};
    for (std::size_t v = 0; v < voices.size(); ++v) {
        const QSet<QString> common = wordSet(voices[v].commonWords);
        const QString own = QString::fromUtf8(voices[v].ownLetters);
        for (const QString &word : words) {
            const QString spelling = spellingOf(word);
            scores[v] += common.contains(spelling) ? 2 : 0;
            scores[v] += std::any_of(spelling.begin(), spelling.end(), [&](QChar c) { return own.contains(c); }) ? 3 : 0;
        }
    }
    const auto best = std::max_element(scores.begin(), scores.end());
    return QString::fromUtf8(voices[std::size_t(best - scores.begin())].name);
}

QStringList phonesFromIpa(const QString &ipa)
{
    QStringList phones;
    for (qsizetype at = 0; at < ipa.size();) {
        const QChar c = ipa.at(at);
        if (rSounds.contains(c) || wSounds.contains(c)) {
            phones << (rSounds.contains(c) ? QStringLiteral("R") : QStringLiteral("W"));
            ++at;
            continue;
        }
        bool matched = false;
        for (const auto &[symbol, cmu] : ipaPhones) {
            const QString text = QString::fromUtf8(symbol);
            if (ipa.mid(at, text.size()) == text) {
                phones << QString::fromLatin1(cmu).split(QLatin1Char(' '));
                at += text.size();
                matched = true;
                break;
            }
        }
        // Stress and length marks, syllable breaks, glottal stops: nothing the model hears apart.
        if (!matched)
            ++at;
    }
    return phones;
}

std::optional<QList<QStringList>> pronounce(const QStringList &words, const QString &voice,
                                            const std::function<std::optional<QStringList>(const QString &)> &lookup)
{
    QList<QStringList> phones(words.size());
    QStringList unknown;
    const bool english = voice.startsWith(QLatin1String("en"));
    for (qsizetype i = 0; i < words.size(); ++i) {
        const QString spelling = spellingOf(words.at(i));
        if (spelling.isEmpty())
            continue;
        const std::optional<QStringList> known = english ? lookup(spelling) : std::nullopt;
        if (known)
            phones[i] = *known;
        else if (!unknown.contains(spelling))
            unknown << spelling;
    }
    if (unknown.isEmpty())
        return phones;

    const QString program = QStandardPaths::findExecutable(QStringLiteral("espeak-ng"));
    if (program.isEmpty())
        return std::nullopt;
    // One word a line: espeak-ng answers each line on a line of its own, so its answer lines
    // up with the question and no word's sound is changed by its neighbour.
    QProcess espeak;
    espeak.start(program, {QStringLiteral("-q"), QStringLiteral("--ipa"), QStringLiteral("-v"), voice});
    if (!espeak.waitForStarted(10000))
        return std::nullopt;
    espeak.write(unknown.join(QLatin1Char('\n')).toUtf8() + '\n');
    espeak.closeWriteChannel();
    if (!espeak.waitForFinished(60000) || espeak.exitCode() != 0) {
        espeak.kill();
        espeak.waitForFinished(1000);
        return std::nullopt;
    }
    // A word espeak-ng takes for another language is wrapped in that language's tags, "(en)".
    static const QRegularExpression languageTags(QStringLiteral("\\([a-z-]+\\)"));
    QStringList answers = QString::fromUtf8(espeak.readAllStandardOutput()).split(QLatin1Char('\n'));
    while (!answers.isEmpty() && answers.back().trimmed().isEmpty())
        answers.removeLast();
    if (answers.size() != unknown.size())
        return std::nullopt;
    QHash<QString, QStringList> spoken;
    for (qsizetype i = 0; i < unknown.size(); ++i)
        spoken.insert(unknown.at(i), phonesFromIpa(QString(answers.at(i)).remove(languageTags)));
    for (qsizetype i = 0; i < words.size(); ++i) {
        const QString spelling = spellingOf(words.at(i));
        if (phones[i].isEmpty() && spoken.contains(spelling))
            phones[i] = spoken.value(spelling);
    }
    return phones;
}

} // namespace quillvane
