// Timed lyrics in the formats other players read: what is written reads back as the same
// lines at the same hundredths, and LRC from other writers is read as far as it is sound.

#include "model/SyncedLyrics.h"
#include "support/Fixtures.h"

#include <gtest/gtest.h>

using namespace quillvane;

namespace {

struct Expected {
    const char *text;
    double start;
    double end;
    std::vector<double> wordStarts;
};

void expectLines(const QList<TranscriptSegment> &read, const std::vector<Expected> &expected, double tolerance)
{
    ASSERT_EQ(read.size(), qsizetype(expected.size()));
    for (qsizetype i = 0; i < read.size(); ++i) {
        SCOPED_TRACE(i);
        const Expected &want = expected[size_t(i)];
        EXPECT_EQ(read[i].text, QString::fromUtf8(want.text));
        EXPECT_NEAR(read[i].start, want.start, tolerance);
        EXPECT_NEAR(read[i].end, want.end, tolerance);
        ASSERT_EQ(read[i].words.size(), qsizetype(want.wordStarts.size()));
        for (qsizetype w = 0; w < read[i].words.size(); ++w)
            EXPECT_NEAR(read[i].words[w].start, want.wordStarts[size_t(w)], tolerance);
    }
}

const QList<TranscriptSegment> transcript = {
    {{}, QStringLiteral("Lueurs de néon, ça brille"), 12.34, 15.5,
     {{QStringLiteral("Lueurs"), 12.34, 12.9}, {QStringLiteral("de"), 12.9, 13.1}, {QStringLiteral("néon,"), 13.1, 14.0},
      {QStringLiteral("ça"), 14.0, 14.6}, {QStringLiteral("brille"), 14.6, 15.5}}},
    {{}, QStringLiteral("second   line"), 15.5, 20.01, {}},
    {{}, QStringLiteral("past the hour"), 3725.07, 3731.5, {}},
};

} // namespace

TEST(SyncedLyrics, WrittenFilesReadBackToTheHundredth)
{
    expectLines(parseSrt(srtText(transcript)),
                {{"Lueurs de néon, ça brille", 12.34, 15.5, {}}, {"second line", 15.5, 20.01, {}},
                 {"past the hour", 3725.07, 3731.5, {}}},
                0.0005);
    // LRC says when lines start; each ends where the next begins.
    expectLines(parseLrc(lrcText(transcript, QStringLiteral("Néon"), QStringLiteral("Quesabe"))),
                {{"Lueurs de néon, ça brille", 12.34, 15.5, {12.34, 12.9, 13.1, 14.0, 14.6}},
                 {"second line", 15.5, 3725.07, {}},
                 {"past the hour", 3725.07, 3729.07, {}}},
                0.005);
}

TEST(SyncedLyrics, TimeStampsRoundCarryAndRefuseWhatIsNotAStamp)
{
    const std::pair<double, const char *> written[] = {
        {59.999, "01:00.00"}, {-2, "00:00.00"}, {6000.004, "100:00.00"}, {62.345, "01:02.35"}};
    for (const auto &[seconds, text] : written)
        EXPECT_EQ(lrcTimestamp(seconds), QLatin1String(text)) << seconds;
    const std::pair<const char *, std::optional<double>> read[] = {
        {"1:02.5", 62.5}, {"00:05:50", 5.5}, {"100:00.00", 6000}, {"00:60", std::nullopt}, {"0:5.1x", std::nullopt}};
    for (const auto &[text, seconds] : read)
        EXPECT_EQ(parseLrcTimestamp(QString::fromLatin1(text)), seconds) << text;
}

TEST(SyncedLyrics, LrcFromOtherWritersReadsAsFarAsItIsSound)
{
    const struct {
        const char *name;
        const char *text;
        std::vector<Expected> lines;
    } rows[] = {
        {"tags are not lyrics and lines without a sound stamp are passed over",
         "[ar:Quesabe]\n[ti:Confession]\n[length: 03:20]\nno stamp here\n[00:05.50]first\n[xx:10.00]broken\n"
         "[00:61.00]bad seconds\n[00:08]second\n[00:09.5]  \n",
         {{"first", 5.5, 8.0, {}}, {"second", 8.0, 12.0, {}}}},
        {"several stamps put a line at each, in time order",
         "[00:40.00]chorus\n[00:10.00][00:30.00]verse\r\n[00:20.00]bridge",
         {{"verse", 10, 20, {}}, {"bridge", 20, 30, {}}, {"verse", 30, 40, {}}, {"chorus", 40, 44, {}}}},
        {"a positive offset shows every line sooner",
         "[offset:+500]\n[00:01.00]one\n[00:00.20]zero\n[00:03.000]three",
         {{"zero", 0, 0.5, {}}, {"one", 0.5, 2.5, {}}, {"three", 2.5, 6.5, {}}}},
        {"enhanced word stamps become the line's words",
         "[01:02.03]<01:02.03>Hold <01:02.50>on <01:03.10>tight\n[01:05.00]end",
         {{"Hold on tight", 62.03, 65, {62.03, 62.5, 63.1}}, {"end", 65, 69, {}}}},
        {"windows line ends and three-digit hundredths", "[00:01.250]a\r\n[00:02.5]b\r\n",
         {{"a", 1.25, 2.5, {}}, {"b", 2.5, 6.5, {}}}},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.name);
        expectLines(parseLrc(QString::fromUtf8(row.text)), row.lines, 0.0005);
    }
}
