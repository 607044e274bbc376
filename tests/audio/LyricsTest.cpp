#include "pipeline/IntakeOperations.h"
#include "audio/Lyrics.h"

#include <gtest/gtest.h>

using namespace quillvane;

namespace {

struct Span {
    double start;
    double end;
    bool operator==(const Span &) const = default;
};

QList<TimedChunk> chunks(std::initializer_list<std::pair<double, double>> times)
{
    QList<TimedChunk> result;
    for (const auto &[start, end] : times)
        result.append({QStringLiteral("heard"), start, end});
    return result;
}

QStringList lines(int count)
{
    QStringList result;
    for (int i = 1; i <= count; ++i)
        result.append(QStringLiteral("line %1").arg(i));
    return result;
}

} // namespace

TEST(CleanLyrics, RemovesSectionTagsSqueezesBlanksAndDropsEmptyLines)
{
    const std::pair<QString, QString> cases[] = {
        {QStringLiteral("[Verse 1]\nHello   world\n\n  [x] end\n"), QStringLiteral("Hello world\nend")},
        {QStringLiteral("[unclosed tag"), QStringLiteral("[unclosed tag")},
        {QStringLiteral("two\t\ttabs and  blanks \t mixed"), QStringLiteral("two tabs and blanks mixed")},
        {QStringLiteral("a\r\nb\rc\u2028d\u0085e\u000Bf\u000Cg\u2029h"), QStringLiteral("a\nb\nc\nd\ne\nf\ng\nh")},
        {QStringLiteral("[spans\nlines] stays"), QStringLiteral("[spans\nlines] stays")},
    };
    for (const auto &[text, expected] : cases)
        EXPECT_EQ(cleanLyrics(text), expected) << text.toStdString();
}

TEST(LyricWords, SplitAtEverythingButLettersMarksAndDigits)
{
    EXPECT_EQ(lyricWords(QStringLiteral("Don't STOP me-now, 2 times! Café Ünïcødé")),
              QStringLiteral("don t stop me now 2 times café ünïcødé").split(QLatin1Char(' ')));
}

TEST(AlignLines, LaysTrimmedLinesOverChunksByProportion)
{
    const struct {
        const char *name;
        QStringList lines;
        QList<TimedChunk> chunks;
        double duration;
        QList<Span> expected;
    } cases[] = {
        {"four lines over two chunks", lines(4), chunks({{0, 5}, {5, 10}}), 0, {{0, 5}, {0, 10}, {5, 10}, {5, 10}}},
        {"two lines over four chunks", lines(2), chunks({{0, 2}, {2, 4}, {4, 6}, {6, 8}}), 0, {{0, 6}, {4, 8}}},
        {"the 0.4 s minimum", lines(3), chunks({{12.0, 12.2}}), 0, {{12.0, 12.4}, {12.0, 12.4}, {12.0, 12.4}}},
        {"even spacing over the duration", lines(6), {}, 180,
         {{0, 30}, {30, 60}, {60, 90}, {90, 120}, {120, 150}, {150, 180}}},
        {"three seconds a line without duration, blank lines left out",
         {QStringLiteral("  line 1  "), QStringLiteral("   "), QStringLiteral("\tline 2\t")}, {}, 0, {{0, 3}, {3, 6}}},
        {"no lines", {}, chunks({{0, 1}}), 10, {}},
    };
    for (const auto &c : cases) {
        const auto segments = alignLines(c.lines, c.chunks, c.duration);
        ASSERT_EQ(segments.size(), c.expected.size()) << c.name;
        for (qsizetype i = 0; i < segments.size(); ++i) {
            EXPECT_EQ((Span{segments[i].start, segments[i].end}), c.expected[i]) << c.name << " " << i;
            EXPECT_EQ(segments[i].text, QStringLiteral("line %1").arg(i + 1)) << c.name;
        }
    }
}

TEST(CompareLyrics, AnEndMatchesWhenAtLeastAThirdOfItsWordsAreHeard)
{
    QStringList hundred;
    for (int i = 0; i < 100; ++i)
        hundred.append(QStringLiteral("w%1").arg(i));
    const QString lyrics = hundred.join(QLatin1Char(' '));
    const QString fiveOfFirstTwelve = QStringLiteral("w0 w1 w2 w3 w4 w50 w51");
    const QString fourOfLastTwelve = QStringLiteral("w88 w89 w90 w91 w40");
    const struct {
        const char *name;
        QString lyrics, head, tail;
        LyricsCheck expected;
    } cases[] = {
        {"5 of 12 matches, 4 of 12 does not", lyrics, fiveOfFirstTwelve, fourOfLastTwelve, {true, false}},
        {"only the last twelve words count at the tail", lyrics, fiveOfFirstTwelve, fiveOfFirstTwelve, {true, false}},
        {"three words, two heard at each end", QStringLiteral("hold my hand"), QStringLiteral("hold hand"),
         QStringLiteral("my hand"), {true, true}},
        {"three words, one heard", QStringLiteral("hold my hand"), QStringLiteral("hand"), QStringLiteral("hold"),
         {false, false}},
        {"lyrics without letters never match", QStringLiteral("... !!!"), QStringLiteral("anything"),
         QStringLiteral("anything"), {false, false}},
    };
    for (const auto &c : cases)
        EXPECT_EQ(compareLyrics(c.lyrics, c.head, c.tail), c.expected) << c.name;
}
