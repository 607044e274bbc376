#include "studio/StudioPlanner.h"

#include "model/Text.h"
#include "studio/StudioPainter.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QRegularExpression>
#include <QSet>

#include <algorithm>

namespace quillvane::studio {

namespace {

// Frames shorter than this are merged with their neighbour.
constexpr double shortestFrame = 2.5;

struct Frame {
    double start = 0;
    double end = 0;
    QString text;
};

QList<Frame> framesOf(const QList<TimedLine> &lines)
{
    QList<Frame> frames;
    for (const TimedLine &line : lines) {
        if (!frames.isEmpty() && frames.last().end - frames.last().start < shortestFrame) {
            frames.last().end = std::max(frames.last().end, line.end);
            frames.last().text += QLatin1Char(' ') + line.text;
        } else {
            frames.append({line.start, std::max(line.end, line.start), line.text});
        }
    }
    // A short last frame joins the one before it.
    if (frames.size() > 1 && frames.last().end - frames.last().start < shortestFrame) {
        const Frame last = frames.takeLast();
        frames.last().end = std::max(frames.last().end, last.end);
        frames.last().text += QLatin1Char(' ') + last.text;
    }
    return frames;
}

struct Look {
    const char *keyword;
    const char *preset;
    const char *palette;
};

// The first of these words in the guidance picks the style preset and the palette.
constexpr Look looks[] = {
    {"neon", "NIGHTLIFE", "#0B1026, #FF2E88, #20E3F2, #F8F4E3"},
    {"night", "NIGHTLIFE", "#0B1026, #3A4BA8, #F2C14E, #F8F4E3"},
    {"snow", "EMOTIONAL_MINIMAL", "#E8F1F8, #7FA7C9, #1D3557, #F4A261"},
    {"watercolor", "WATERCOLOR", "#F4EBD9, #9DC5BB, #E08E79, #3D5A80"},
    {"retro", "VINTAGE_POSTER", "#F2E8CF, #BC4749, #386641, #6A994E"},
    {"sunset", "GOLDEN_HOUR", "#2B193D, #F77F00, #FCBF49, #EAE2B7"},
    {"forest", "FOREST_REVERIE", "#1B4332, #40916C, #D8F3DC, #F4A259"},
    {"marker", "GRAFFITI_I", "#0F392F, #FF6748, #D6EE27, #F7ECD2"},
};
constexpr Look defaultLook{"", "ART_POSTER", "#0F392F, #FF6748, #D6EE27, #F7ECD2"};

const Look &lookFor(const QString &guidance)
{
    const QString lower = guidance.toLower();
    for (const Look &look : looks) {
        if (lower.contains(QLatin1String(look.keyword)))
            return look;
    }
    return defaultLook;
}

// Surfaces the words are painted on, taken in turn.
const QStringList surfaces = {QStringLiteral("a hand-painted shop sign"), QStringLiteral("a brick wall mural"),
                              QStringLiteral("a canvas banner"), QStringLiteral("a chalkboard by the road")};

const QSet<QString> &commonWords()
{
    static const QSet<QString> words = {
        QStringLiteral("the"),   QStringLiteral("and"),   QStringLiteral("you"),  QStringLiteral("are"),
        QStringLiteral("was"),   QStringLiteral("with"),  QStringLiteral("that"), QStringLiteral("this"),
        QStringLiteral("from"),  QStringLiteral("your"),  QStringLiteral("have"), QStringLiteral("will"),
        QStringLiteral("what"),  QStringLiteral("when"),  QStringLiteral("where"), QStringLiteral("there"),
        QStringLiteral("they"),  QStringLiteral("them"),  QStringLiteral("were"), QStringLiteral("every"),
        QStringLiteral("used"),  QStringLiteral("know"),  QStringLiteral("hold"), QStringLiteral("don't"),
        QStringLiteral("let"),   QStringLiteral("our"),   QStringLiteral("into"), QStringLiteral("down"),
    };
    return words;
}

// Two to four recurring things: words of four letters or more that come back most often.
QStringList recurringNouns(const QList<TimedLine> &lines, const QString &guidance)
{
    QMap<QString, int> counts;
    QStringList order;
    static const QRegularExpression word(QStringLiteral("[A-Za-z']{4,}"));
    const auto take = [&](const QString &text) {
        for (auto match = word.globalMatch(text); match.hasNext();) {
            const QString found = match.next().captured().toLower();
            if (commonWords().contains(found))
                continue;
            if (!counts.contains(found))
                order.append(found);
            counts[found] += 1;
        }
    };
    for (const TimedLine &line : lines)
        take(line.text);
    take(guidance);
    std::stable_sort(order.begin(), order.end(), [&](const QString &a, const QString &b) { return counts[a] > counts[b]; });
    QStringList nouns = order.mid(0, 4);
    const QStringList fallback = {QStringLiteral("street"), QStringLiteral("lantern")};
    for (const QString &extra : fallback) {
        if (nouns.size() < 2 && !nouns.contains(extra))
            nouns.append(extra);
    }
    return nouns;
}

QString elementType(const QString &noun)
{
    static const QStringList places = {QStringLiteral("road"), QStringLiteral("street"), QStringLiteral("city"),
                                       QStringLiteral("town"), QStringLiteral("room"),   QStringLiteral("river"),
                                       QStringLiteral("forest"), QStringLiteral("beach"), QStringLiteral("rooftop")};
    return places.contains(noun) ? QStringLiteral("place") : QStringLiteral("prop");
}

} // namespace

QList<TimedLine> parseTranscript(const QString &transcript)
{
    static const QRegularExpression timed(QStringLiteral("^\\[([0-9.]+)-([0-9.]+)\\]\\s*(.*)$"));
    QList<TimedLine> lines;
    for (const QString &raw : transcript.split(QLatin1Char('\n'))) {
        const auto match = timed.match(raw.trimmed());
        if (!match.hasMatch() || match.captured(3).trimmed().isEmpty())
            continue;
        lines.append({match.captured(1).toDouble(), match.captured(2).toDouble(), match.captured(3).trimmed()});
    }
    return lines;
}

QJsonObject plan(const QJsonObject &input)
{
    const QList<TimedLine> lines = parseTranscript(input.value(QStringLiteral("transcript")).toString());
    QString guidance = input.value(QStringLiteral("style_guidance")).toString();
    // A request for frames without words is obeyed, not mined for the scene's things.
    const bool wordless = asksForNoWords(guidance);
    static const QRegularExpression noWordsSentence(QStringLiteral("[^.:]*\\bno (text|lettering)\\b[^.]*\\.?"),
                                                    QRegularExpression::CaseInsensitiveOption);
    guidance = guidance.remove(noWordsSentence).trimmed();
    const QString artist = input.value(QStringLiteral("artist")).toString();
    const Look &look = lookFor(guidance);
    const QStringList nouns = recurringNouns(lines, guidance);

    QJsonArray elements;
    for (const QString &noun : nouns) {
        elements.append(QJsonObject{
            {QStringLiteral("id"), noun},
            {QStringLiteral("type"), elementType(noun)},
            {QStringLiteral("continuityDescription"),
             QStringLiteral("The same %1 returns in every frame it appears in, in the palette's colours.").arg(noun)},
            {QStringLiteral("textToImagePrompt"), QStringLiteral("An emblem of a %1, flat shapes, palette %2").arg(noun, QLatin1String(look.palette))},
        });
    }

    QJsonArray frames;
    const QList<Frame> planned = framesOf(lines);
    for (qsizetype i = 0; i < planned.size(); ++i) {
        const Frame &frame = planned[i];
        const QString surface = surfaces[i % surfaces.size()];
        QJsonArray used;
        for (const QString &noun : nouns) {
            if (frame.text.toLower().contains(noun))
                used.append(noun);
        }
        frames.append(QJsonObject{
            {QStringLiteral("chunkNumber"), i + 1},
            {QStringLiteral("startTime"), frame.start},
            {QStringLiteral("endTime"), frame.end},
            {QStringLiteral("lyricExcerpt"), frame.text},
            {QStringLiteral("renderedText"), frame.text},
            {QStringLiteral("surface"), surface},
            {QStringLiteral("imagePrompt"),
             QStringLiteral("%1, %2, %3")
                 .arg(withoutClosingPunctuation(guidance).isEmpty() ? QStringLiteral("A hand-painted scene")
                                                                     : withoutClosingPunctuation(guidance),
                      wordless ? QStringLiteral("night city street with no text, no lettering")
                               : QStringLiteral("the words \"%1\" painted on %2, night city street").arg(frame.text, surface),
                      QLatin1String(look.palette))},
            {QStringLiteral("videoPrompt"), QStringLiteral("Slow push-in towards %1").arg(surface)},
            {QStringLiteral("elementIdsUsed"), used},
            {QStringLiteral("primaryCharacterInFrame"), used.isEmpty()},
        });
    }

    return {
        {QStringLiteral("artDirectionStatement"),
         QStringLiteral("Every lyric%1 lives on a real surface of one continuous night walk: signs, walls and banners "
                        "lettered by hand, lit in the same %2 palette from the first line to the last.")
             .arg(artist.isEmpty() ? QString() : QStringLiteral(" of ") + artist,
                  QString::fromLatin1(look.preset).toLower().replace(QLatin1Char('_'), QLatin1Char(' ')))},
        {QStringLiteral("ideogramStylePreset"), QString::fromLatin1(look.preset)},
        {QStringLiteral("palette"), QString::fromLatin1(look.palette)},
        {QStringLiteral("motif"), QStringLiteral("%1 seen again and again").arg(nouns.value(0))},
        {QStringLiteral("storyline"), QStringLiteral("From the first sign to the last, one walk through the song's places.")},
        {QStringLiteral("emotionalArc"), QStringLiteral("Quiet at the start, brightest at the last chorus.")},
        {QStringLiteral("visualAnchor"), QStringLiteral("Hand-lettered words on real surfaces")},
        {QStringLiteral("elementIds"), elements},
        {QStringLiteral("frames"), frames},
    };
}

QJsonObject planResult(const QJsonObject &input)
{
    const QString text = QString::fromUtf8(QJsonDocument(plan(input)).toJson(QJsonDocument::Compact));
    return {{QStringLiteral("output"), QJsonObject{{QStringLiteral("style_director_json"), text}}}};
}

} // namespace quillvane::studio
