#include "media/Lettering.h"

#include <QRegularExpression>
#include <QTextOption>

#include <algorithm>
#include <cmath>
#include <numeric>

namespace quillvane {

namespace {

bool isVowel(QChar c)
{
    // The base letter of an accented one: é and ö count as e and o.
    const QString base = QString(c).normalized(QString::NormalizationForm_D);
    const QChar letter = base.isEmpty() ? c : base.front().toLower();
    static const QString vowels = QStringLiteral("aeiouyаеёиоуыэюяαεηιουωæøå");
    return vowels.contains(letter);
}

bool countsAsSyllable(QChar c)
{
    const ushort u = c.unicode();
    return (u >= 0x3040 && u <= 0x30FF) || (u >= 0x3400 && u <= 0x9FFF) || (u >= 0xAC00 && u <= 0xD7AF);
}

struct Token {
    qsizetype from = 0;
    qsizetype length = 0;
};

QList<Token> tokensOf(const QString &text)
{
    QList<Token> tokens;
    static const QRegularExpression word(QStringLiteral("\\S+"));
    for (auto match = word.globalMatch(text); match.hasNext();) {
        const QRegularExpressionMatch m = match.next();
        tokens.append({m.capturedStart(), m.capturedLength()});
    }
    return tokens;
}

bool hasUsableTimes(const QList<TimedWord> &words)
{
    bool anyTime = false;
    for (const TimedWord &word : words) {
        if (!std::isfinite(word.start) || !std::isfinite(word.end) || word.end < word.start)
            return false;
        anyTime = anyTime || word.end > 0;
    }
    return anyTime;
}

double linear(double channel)
{
    return channel <= 0.04045 ? channel / 12.92 : std::pow((channel + 0.055) / 1.055, 2.4);
}

QColor mixed(const QColor &a, const QColor &b, double t)
{
    return QColor::fromRgbF(float(a.redF() * (1 - t) + b.redF() * t), float(a.greenF() * (1 - t) + b.greenF() * t),
                            float(a.blueF() * (1 - t) + b.blueF() * t));
}

// The times each line leaves, for lines already ordered by start.
QList<double> leavingTimes(const QList<const TranscriptSegment *> &lines)
{
    QList<double> until;
    for (qsizetype i = 0; i < lines.size(); ++i) {
        double end = lines[i]->end;
        if (i + 1 < lines.size() && lines[i + 1]->start < end)
            end = std::min(end, lines[i + 1]->start + letteringHold);
        until.append(end);
    }
    return until;
}

// The lines with something to show, ordered by start.
QList<const TranscriptSegment *> showable(const QList<TranscriptSegment> &lines)
{
    QList<const TranscriptSegment *> shown;
    for (const TranscriptSegment &line : lines)
        if (std::isfinite(line.start) && std::isfinite(line.end) && line.end > line.start
            && !line.text.simplified().isEmpty())
            shown.append(&line);
    std::stable_sort(shown.begin(), shown.end(),
                     [](const TranscriptSegment *a, const TranscriptSegment *b) { return a->start < b->start; });
    return shown;
}

} // namespace

int syllablesSung(const QString &word)
{
    int count = 0;
    bool inVowels = false;
    for (const QChar c : word) {
        if (countsAsSyllable(c)) {
            ++count;
            inVowels = false;
            continue;
        }
        const bool vowel = isVowel(c);
        if (vowel && !inVowels)
            ++count;
        inVowels = vowel;
    }
    return std::max(count, 1);
}

LineCue lineCue(const TranscriptSegment &line)
{
    LineCue cue{line.text.simplified(), line.start, line.end, {}};
    const QList<Token> tokens = tokensOf(cue.text);
    if (tokens.size() == line.words.size() && hasUsableTimes(line.words)) {
        for (qsizetype i = 0; i < tokens.size(); ++i)
            cue.words.append({tokens[i].from, tokens[i].length, line.words[i].start});
        return cue;
    }
    QList<int> syllables;
    for (const Token &token : tokens)
        syllables.append(syllablesSung(cue.text.mid(token.from, token.length)));
    const double total = std::max(1, std::accumulate(syllables.begin(), syllables.end(), 0));
    int before = 0;
    for (qsizetype i = 0; i < tokens.size(); ++i) {
        cue.words.append({tokens[i].from, tokens[i].length, line.start + (line.end - line.start) * before / total});
        before += syllables[i];
    }
    return cue;
}

QList<LineCue> lineCues(const QList<TranscriptSegment> &lines)
{
    const QList<const TranscriptSegment *> shown = showable(lines);
    const QList<double> until = leavingTimes(shown);
    QList<LineCue> cues;
    for (qsizetype i = 0; i < shown.size(); ++i) {
        cues.append(lineCue(*shown[i]));
        cues.last().until = until[i];
    }
    return cues;
}

QList<TranscriptSegment> linesShownBetween(const QList<TranscriptSegment> &lines, double from, double to)
{
    const QList<const TranscriptSegment *> shown = showable(lines);
    const QList<double> until = leavingTimes(shown);
    QList<TranscriptSegment> within;
    for (qsizetype i = 0; i < shown.size(); ++i) {
        if (!(shown[i]->start < to && until[i] > from))
            continue;
        // The words' times are settled here, from the whole line, so that shortening its end
        // to when it leaves does not move them.
        const LineCue cue = lineCue(*shown[i]);
        TranscriptSegment line = *shown[i];
        line.text = cue.text;
        line.end = until[i];
        line.words.clear();
        for (qsizetype w = 0; w < cue.words.size(); ++w) {
            const double end = w + 1 < cue.words.size() ? cue.words[w + 1].start : shown[i]->end;
            line.words.append({cue.text.mid(cue.words[w].from, cue.words[w].length), cue.words[w].start,
                               std::max(end, cue.words[w].start)});
        }
        within.append(line);
    }
    return within;
}

QList<CueOnScreen> cuesAt(const QList<LineCue> &cues, double time)
{
    QList<CueOnScreen> on;
    for (qsizetype i = 0; i < cues.size(); ++i) {
        const LineCue &cue = cues[i];
        if (time < cue.start || time >= cue.until)
            continue;
        const double in = std::clamp((time - cue.start) / letteringFade, 0.0, 1.0);
        const double out = std::clamp((cue.until - time) / letteringFade, 0.0, 1.0);
        on.append({i, std::min(in, out)});
    }
    if (on.size() > 2)
        on.remove(0, on.size() - 2);
    return on;
}

double relativeLuminance(const QColor &colour)
{
    return 0.2126 * linear(colour.redF()) + 0.7152 * linear(colour.greenF()) + 0.0722 * linear(colour.blueF());
}

double contrastRatio(const QColor &a, const QColor &b)
{
    const double la = relativeLuminance(a);
    const double lb = relativeLuminance(b);
    return (std::max(la, lb) + 0.05) / (std::min(la, lb) + 0.05);
}

QColor reaching(const QColor &colour, const QColor &against, double ratio)
{
    const QColor white(Qt::white);
    const QColor black(Qt::black);
    const QColor away = contrastRatio(white, against) >= contrastRatio(black, against) ? white : black;
    for (int step = 0; step <= 20; ++step) {
        const QColor candidate = mixed(colour, away, step / 20.0);
        if (contrastRatio(candidate, against) >= ratio)
            return candidate.toRgb();
    }
    return away;
}

LetteringStyle letteringStyle(const QStringList &palette)
{
    QList<QColor> colours;
    for (const QString &text : palette) {
        const QColor colour = QColor::fromString(text.trimmed());
        if (colour.isValid())
            colours.append(colour.toRgb());
    }
    LetteringStyle style;
    if (colours.isEmpty())
        return style;
    const auto lightest = std::max_element(colours.begin(), colours.end(), [](const QColor &a, const QColor &b) {
        return relativeLuminance(a) < relativeLuminance(b);
    });
    const QColor outline = contrastRatio(*lightest, Qt::black) >= contrastRatio(*lightest, Qt::white)
                               ? QColor(Qt::black)
                               : QColor(Qt::white);
    const QColor fill = reaching(*lightest, outline);
    // The most vivid colour that still reads as different from the fill once readable.
    QColor lit = reaching(QColor::fromString(style.lit), outline);
    double vivid = -1;
    for (const QColor &colour : colours) {
        const QColor readable = reaching(colour, outline);
        const double vividness = colour.hsvSaturationF() * colour.valueF();
        if (contrastRatio(readable, fill) >= 1.3 && vividness > vivid) {
            vivid = vividness;
            lit = readable;
        }
    }
    style.fill = fill.name();
    style.lit = lit.name();
    style.outline = outline.name();
    return style;
}

double bandOpacity(const QList<QColor> &letters, const QColor &band, const QList<QColor> &background)
{
    for (int step = 0; step < 18; ++step) {
        const double opacity = step * 0.05;
        const bool readable = std::all_of(background.begin(), background.end(), [&](const QColor &under) {
            const QColor seen = mixed(under, band, opacity);
            return std::all_of(letters.begin(), letters.end(), [&](const QColor &letter) {
                return contrastRatio(letter, seen) >= readableContrast;
            });
        });
        if (readable)
            return opacity;
    }
    return 0.9;
}

double edgeEnergy(const QImage &image, const QRect &area)
{
    const QImage grey = image.format() == QImage::Format_Grayscale8 ? image
                                                                     : image.convertToFormat(QImage::Format_Grayscale8);
    const QRect inside = area.intersected(grey.rect().adjusted(0, 0, -1, -1));
    if (inside.isEmpty())
        return 0;
    double sum = 0;
    for (int y = inside.top(); y <= inside.bottom(); ++y) {
        const uchar *row = grey.constScanLine(y);
        const uchar *below = grey.constScanLine(y + 1);
        for (int x = inside.left(); x <= inside.right(); ++x)
            sum += std::abs(row[x + 1] - row[x]) + std::abs(below[x] - row[x]);
    }
    return sum / (double(inside.width()) * inside.height());
}

LetteringThird calmerThird(double upperEnergy, double lowerEnergy)
{
    return upperEnergy < lowerEnergy * 0.75 ? LetteringThird::upper : LetteringThird::lower;
}

LetteringArea letteringArea(QSize frame, LetteringThird third)
{
    const int width = frame.width();
    const int height = frame.height();
    const double aspect = double(width) / std::max(height, 1);
    // Tall frames lose their top and bottom to the phone's own controls; wide ones need
    // room at the sides more than at the edges.
    const int side = int(std::lround(width * (aspect < 1.2 ? 0.07 : 0.06)));
    const int edge = int(std::lround(height * (aspect < 0.8 ? 0.13 : 0.07)));
    const int inner = int(std::lround(height * (aspect < 0.8 ? 0.35 : 0.4)));
    LetteringArea area;
    area.fromBottom = third == LetteringThird::lower;
    area.box = area.fromBottom ? QRect(QPoint(side, height - inner), QPoint(width - side - 1, height - edge - 1))
                               : QRect(QPoint(side, edge), QPoint(width - side - 1, inner - 1));
    // Phones are held close but their frames are narrow: a little larger there.
    area.pixelSize = std::max(6, int(std::lround(std::min(width, height) * (aspect < 0.8 ? 0.075 : 0.06))));
    return area;
}

double layOut(QTextLayout &layout, const FittedText &fit, double width)
{
    QFont font = layout.font();
    font.setPixelSize(fit.pixelSize);
    layout.setFont(font);
    QTextOption option(Qt::AlignHCenter);
    option.setWrapMode(fit.breakInWords ? QTextOption::WrapAtWordBoundaryOrAnywhere : QTextOption::WordWrap);
    option.setTextDirection(layout.text().isRightToLeft() ? Qt::RightToLeft : Qt::LeftToRight);
    layout.setTextOption(option);
    double y = 0;
    layout.beginLayout();
    for (QTextLine line = layout.createLine(); line.isValid(); line = layout.createLine()) {
        line.setLineWidth(width);
        line.setPosition(QPointF(0, y));
        y += line.height();
    }
    layout.endLayout();
    return y;
}

FittedText fitText(const QString &text, const QFont &font, QSizeF box, int largest)
{
    largest = std::max(largest, 4);
    const auto fits = [&](const FittedText &fit, int rows) {
        QTextLayout layout(text, font);
        const double height = layOut(layout, fit, box.width());
        if (layout.lineCount() > rows || height > box.height())
            return false;
        for (int i = 0; i < layout.lineCount(); ++i)
            if (layout.lineAt(i).naturalTextWidth() > box.width() + 0.5)
                return false;
        return true;
    };
    const int floor = std::max(4, int(largest * 0.4));
    struct Pass {
        int down_to;
        int rows;
        bool breakInWords;
    };
    const Pass passes[] = {{int(std::ceil(largest * 0.75)), 2, false},
                           {floor, 3, false},
                           {floor, 3, true},
                           {4, 1000, true}};
    for (const Pass &pass : passes) {
        for (int size = largest;; size -= std::max(1, size / 12)) {
            size = std::max(size, pass.down_to);
            if (fits({size, pass.breakInWords}, pass.rows))
                return {size, pass.breakInWords};
            if (size == pass.down_to)
                break;
        }
    }
    return {4, true};
}

} // namespace quillvane
