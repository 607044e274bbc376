#include "audio/Lyrics.h"

#include "model/Text.h"

#include <QRegularExpression>
#include <QSet>

#include <algorithm>
#include <cmath>

namespace quillvane {

namespace {

// Splits at every newline character; CR LF gives an empty piece between its halves unless
// crlfAsOne.
QStringList splitLines(const QString &text, bool crlfAsOne)
{
    QStringList pieces;
    qsizetype start = 0;
    for (qsizetype i = 0; i < text.size(); ++i) {
        if (!isNewline(text.at(i)))
            continue;
        pieces.append(text.mid(start, i - start));
        if (crlfAsOne && text.at(i) == QLatin1Char('\r') && i + 1 < text.size() && text.at(i + 1) == QLatin1Char('\n'))
            ++i;
        start = i + 1;
    }
    pieces.append(text.mid(start));
    return pieces;
}

// Trims white space and newlines from both ends.
QString trimmedText(const QString &text)
{
    return text.trimmed();
}

} // namespace

QString cleanLyrics(const QString &text)
{
    static const QRegularExpression sectionTag(QStringLiteral(R"(\[[^\]\r\n]*\])"));
    static const QRegularExpression blankRun(QStringLiteral("[ \\t]{2,}"));
    QStringList kept;
    for (QString piece : splitLines(text, false)) {
        piece.remove(sectionTag);
        piece.replace(blankRun, QStringLiteral(" "));
        piece = trimmedText(piece);
        if (!piece.isEmpty())
            kept.append(piece);
    }
    return kept.join(QLatin1Char('\n'));
}

QStringList lyricLines(const QString &text)
{
    QStringList lines = splitLines(text, true);
    lines.removeAll(QString());
    return lines;
}

int nonBlankLineCount(const QString &text)
{
    const QStringList lines = lyricLines(text);
    return int(std::count_if(lines.begin(), lines.end(), [](const QString &l) { return !trimBlanks(l).isEmpty(); }));
}

QStringList lyricWords(const QString &text)
{
    QStringList words;
    QString current;
    const QString lower = text.toLower();
    for (qsizetype i = 0; i < lower.size(); ++i) {
        const QChar c = lower.at(i);
        // Letters and digits outside the basic plane arrive as surrogate pairs.
        if (c.isHighSurrogate() && i + 1 < lower.size() && lower.at(i + 1).isLowSurrogate()) {
            const char32_t code = QChar::surrogateToUcs4(c, lower.at(i + 1));
            if (QChar::isLetterOrNumber(code) || QChar::isMark(code)) {
                current += c;
                current += lower.at(i + 1);
            } else if (!current.isEmpty()) {
                words.append(current);
                current.clear();
            }
            ++i;
            continue;
        }
        if (c.isLetterOrNumber() || c.isMark()) {
            current += c;
        } else if (!current.isEmpty()) {
            words.append(current);
            current.clear();
        }
    }
    if (!current.isEmpty())
        words.append(current);
    return words;
}

double wordOverlap(const QStringList &heard, const QStringList &expected)
{
    if (expected.isEmpty())
        return 0;
    const QSet<QString> heardSet(heard.begin(), heard.end());
    const auto found = std::count_if(expected.begin(), expected.end(), [&](const QString &w) { return heardSet.contains(w); });
    return double(found) / double(expected.size());
}

QList<TranscriptSegment> alignLines(const QStringList &lines, const QList<TimedChunk> &chunks, double duration)
{
    QStringList kept;
    for (const QString &line : lines) {
        const QString trimmed = trimBlanks(line);
        if (!trimmed.isEmpty())
            kept.append(trimmed);
    }
    const qsizetype count = kept.size();
    QList<TranscriptSegment> segments;
    if (count == 0)
        return segments;

    if (!chunks.isEmpty()) {
        const qsizetype chunkCount = chunks.size();
        // Divide, then multiply, then truncate: the order fixes which chunk a line lands on.
        const auto chunkAt = [&](qsizetype i) {
            const auto index = qsizetype(std::trunc(double(i) / double(count) * double(chunkCount)));
            return std::min(index, chunkCount - 1);
        };
        for (qsizetype i = 0; i < count; ++i) {
            const double start = chunks.at(chunkAt(i)).start;
            double end = chunks.at(chunkAt(i + 1)).end;
            if (end <= start + 0.4)
                end = start + 0.4;
            segments.append({QUuid::createUuid(), kept.at(i), start, end, {}});
        }
        return segments;
    }

    const double total = duration > 0 ? duration : double(count) * 3.0;
    const double step = total / double(count);
    for (qsizetype i = 0; i < count; ++i)
        segments.append({QUuid::createUuid(), kept.at(i), step * double(i), step * double(i + 1), {}});
    return segments;
}

QList<TranscriptSegment> segmentsFromChunks(const QList<TimedChunk> &chunks)
{
    QList<TranscriptSegment> segments;
    for (const TimedChunk &chunk : chunks) {
        const QString text = trimBlanks(chunk.text);
        if (!text.isEmpty())
            segments.append({QUuid::createUuid(), text, chunk.start, chunk.end, {}});
    }
    return segments;
}

} // namespace quillvane
