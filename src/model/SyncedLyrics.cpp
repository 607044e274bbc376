#include "model/SyncedLyrics.h"

#include <QRegularExpression>

#include <algorithm>
#include <cmath>

namespace quillvane {

namespace {

// How long the last line of an LRC file lasts: the format says when lines start, not end.
constexpr double lastLineSeconds = 4.0;

qint64 roundedTo(double seconds, double unit)
{
    return qint64(std::llround(std::max(0.0, seconds) / unit));
}

QString srtStamp(double seconds)
{
    const qint64 ms = roundedTo(seconds, 0.001);
    return QStringLiteral("%1:%2:%3,%4")
        .arg(ms / 3600000, 2, 10, QLatin1Char('0'))
        .arg(ms / 60000 % 60, 2, 10, QLatin1Char('0'))
        .arg(ms / 1000 % 60, 2, 10, QLatin1Char('0'))
        .arg(ms % 1000, 3, 10, QLatin1Char('0'));
}

// A stamp's text inside its brackets, for the patterns that find stamps in a line.
const QString stampPattern = QStringLiteral("(\\d{1,3}:\\d{1,2}(?:[.:]\\d{1,3})?)");

} // namespace

QString lrcTimestamp(double seconds)
{
    const qint64 cs = roundedTo(seconds, 0.01);
    return QStringLiteral("%1:%2.%3")
        .arg(cs / 6000, 2, 10, QLatin1Char('0'))
        .arg(cs / 100 % 60, 2, 10, QLatin1Char('0'))
        .arg(cs % 100, 2, 10, QLatin1Char('0'));
}

std::optional<double> parseLrcTimestamp(QStringView stamp)
{
    static const QRegularExpression form(QStringLiteral("^(\\d{1,3}):(\\d{1,2})(?:[.:](\\d{1,3}))?$"));
    const QRegularExpressionMatch match = form.match(stamp);
    if (!match.hasMatch())
        return std::nullopt;
    const int seconds = match.capturedView(2).toInt();
    if (seconds >= 60)
        return std::nullopt;
    const QStringView fraction = match.capturedView(3);
    double value = match.capturedView(1).toInt() * 60.0 + seconds;
    if (!fraction.isEmpty())
        value += fraction.toInt() / std::pow(10.0, double(fraction.size()));
    return value;
}

QString srtText(const QList<TranscriptSegment> &segments)
{
    QString text;
    int number = 0;
    for (const TranscriptSegment &segment : segments) {
        const QString line = segment.text.simplified();
        if (line.isEmpty())
            continue;
        text += QStringLiteral("%1\n%2 --> %3\n%4\n\n")
                    .arg(++number)
                    .arg(srtStamp(segment.start), srtStamp(std::max(segment.end, segment.start)), line);
    }
    return text;
}

QString lrcText(const QList<TranscriptSegment> &segments, const QString &title, const QString &artist)
{
    QString text;
    if (!title.trimmed().isEmpty())
        text += QStringLiteral("[ti:%1]\n").arg(title.simplified());
    if (!artist.trimmed().isEmpty())
        text += QStringLiteral("[ar:%1]\n").arg(artist.simplified());
    for (const TranscriptSegment &segment : segments) {
        const QString line = segment.text.simplified();
        if (line.isEmpty())
            continue;
        text += QLatin1Char('[') + lrcTimestamp(segment.start) + QLatin1Char(']');
        if (segment.words.isEmpty()) {
            text += line;
        } else {
            QStringList words;
            for (const TimedWord &word : segment.words)
                words << QLatin1Char('<') + lrcTimestamp(word.start) + QLatin1Char('>') + word.text;
            text += words.join(QLatin1Char(' '));
        }
        text += QLatin1Char('\n');
    }
    return text;
}

QList<TranscriptSegment> parseLrc(const QString &text)
{
    static const QRegularExpression stamp(QStringLiteral("^\\[") + stampPattern + QStringLiteral("\\]"));
    static const QRegularExpression offsetTag(QStringLiteral("^\\[offset:\\s*([+-]?\\d+)\\s*\\]$"),
                                              QRegularExpression::CaseInsensitiveOption);
    static const QRegularExpression wordStamp(QStringLiteral("<") + stampPattern + QStringLiteral(">"));

    double offset = 0;
    QList<TranscriptSegment> segments;
    const QStringList lines = text.split(QRegularExpression(QStringLiteral("\\r\\n|\\r|\\n")));
    for (const QString &raw : lines) {
        QString line = raw.trimmed();
        if (const auto tag = offsetTag.match(line); tag.hasMatch()) {
            offset = tag.captured(1).toDouble() / 1000.0;
            continue;
        }
        QList<double> starts;
        for (auto match = stamp.match(line); match.hasMatch(); match = stamp.match(line)) {
            if (const auto seconds = parseLrcTimestamp(match.capturedView(1)))
                starts << *seconds;
            line = line.mid(match.capturedLength()).trimmed();
        }
        if (starts.isEmpty())
            continue;
        QList<TimedWord> words;
        QString plain = line;
        if (line.contains(QLatin1Char('<'))) {
            plain.clear();
            auto pieces = wordStamp.globalMatch(line);
            QList<QRegularExpressionMatch> found;
            while (pieces.hasNext())
                found << pieces.next();
            for (qsizetype i = 0; i < found.size(); ++i) {
                const qsizetype from = found[i].capturedEnd();
                const qsizetype to = i + 1 < found.size() ? found[i + 1].capturedStart() : line.size();
                const QString word = line.mid(from, to - from).trimmed();
                const auto at = parseLrcTimestamp(found[i].capturedView(1));
                if (word.isEmpty() || !at)
                    continue;
                words << TimedWord{word, *at, *at};
                plain += (plain.isEmpty() ? QString() : QStringLiteral(" ")) + word;
            }
            if (found.isEmpty())
                plain = line;
        }
        plain = plain.simplified();
        if (plain.isEmpty())
            continue;
        for (const double start : starts) {
            TranscriptSegment segment;
            segment.text = plain;
            segment.start = start;
            // Word stamps are written for one place in the song: the line's first stamp.
            if (start == starts.first())
                segment.words = words;
            segments << segment;
        }
    }
    std::stable_sort(segments.begin(), segments.end(),
                     [](const TranscriptSegment &a, const TranscriptSegment &b) { return a.start < b.start; });
    for (qsizetype i = 0; i < segments.size(); ++i) {
        TranscriptSegment &segment = segments[i];
        segment.start = std::max(0.0, segment.start - offset);
        for (TimedWord &word : segment.words)
            word.start = std::max(0.0, word.start - offset);
    }
    for (qsizetype i = 0; i < segments.size(); ++i) {
        TranscriptSegment &segment = segments[i];
        segment.end = i + 1 < segments.size() ? segments[i + 1].start : segment.start + lastLineSeconds;
        for (qsizetype w = 0; w < segment.words.size(); ++w)
            segment.words[w].end = w + 1 < segment.words.size() ? segment.words[w + 1].start : segment.end;
    }
    return segments;
}

QList<TranscriptSegment> parseSrt(const QString &text)
{
    static const QRegularExpression timing(QStringLiteral(
        "(\\d{1,2}):(\\d{2}):(\\d{2})[,.](\\d{1,3})\\s*-->\\s*(\\d{1,2}):(\\d{2}):(\\d{2})[,.](\\d{1,3})"));
    const auto seconds = [](const QRegularExpressionMatch &m, int first) {
        const QString fraction = m.captured(first + 3);
        return m.captured(first).toInt() * 3600.0 + m.captured(first + 1).toInt() * 60.0
            + m.captured(first + 2).toInt() + fraction.toInt() / std::pow(10.0, fraction.size());
    };
    QList<TranscriptSegment> segments;
    const QStringList blocks
        = text.split(QRegularExpression(QStringLiteral("(\\r?\\n){2,}")), Qt::SkipEmptyParts);
    for (const QString &block : blocks) {
        QStringList lines = block.split(QRegularExpression(QStringLiteral("\\r?\\n")), Qt::SkipEmptyParts);
        const auto at = std::find_if(lines.begin(), lines.end(),
                                     [](const QString &line) { return timing.match(line).hasMatch(); });
        if (at == lines.end())
            continue;
        const QRegularExpressionMatch match = timing.match(*at);
        const QString words = QStringList(at + 1, lines.end()).join(QLatin1Char(' ')).simplified();
        if (words.isEmpty())
            continue;
        TranscriptSegment segment;
        segment.text = words;
        segment.start = seconds(match, 1);
        segment.end = std::max(segment.start, seconds(match, 5));
        segments << segment;
    }
    return segments;
}

QString syncedLyricsFormat(const QString &fileName)
{
    const QString lower = fileName.toLower();
    if (lower.endsWith(QLatin1String(".lrc")))
        return QStringLiteral("lrc");
    if (lower.endsWith(QLatin1String(".srt")))
        return QStringLiteral("srt");
    return {};
}

} // namespace quillvane
