// Timed lyrics in the formats other players read: what is written reads back as the same
// lines at the same hundredths, and LRC from other writers is read as far as it is sound.

#include "model/SyncedLyrics.h"

#include <gtest/gtest.h>

using namespace quillvane;

namespace {

// Each line as "text start-end" and its words' starts, to the millisecond.
using Lines = std::vector<std::string>;
Lines described(const QList<TranscriptSegment> &lines)
{
    Lines out;
    for (const TranscriptSegment &line : lines) {
        QString text = QStringLiteral("%1 %2-%3").arg(line.text).arg(line.start, 0, 'f', 3).arg(line.end, 0, 'f', 3);
        for (const TimedWord &word : line.words)
            text += QStringLiteral(" %1").arg(word.start, 0, 'f', 3);
        out.push_back(text.toStdString());
    }
    return out;
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
    EXPECT_EQ(described(parseSrt(srtText(transcript))),
              (Lines{"Lueurs de néon, ça brille 12.340-15.500", "second line 15.500-20.010", "past the hour 3725.070-3731.500"}));
    // LRC says when lines start; each ends where the next begins.
    EXPECT_EQ(described(parseLrc(lrcText(transcript, QStringLiteral("Néon"), QStringLiteral("Quesabe")))),
              (Lines{"Lueurs de néon, ça brille 12.340-15.500 12.340 12.900 13.100 14.000 14.600",
                     "second line 15.500-3725.070", "past the hour 3725.070-3729.070"}));
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
    const std::pair<const char *, Lines> rows[] = {
        // Tags are not lyrics, and lines without a sound stamp are passed over.
        {"[ar:Quesabe]\n[ti:Confession]\n[length: 03:20]\nno stamp here\n[00:05.50]first\n[xx:10.00]broken\n"
         "[00:61.00]bad seconds\n[00:08]second\n[00:09.5]  \n",
         {"first 5.500-8.000", "second 8.000-12.000"}},
        // Several stamps put a line at each, in time order.
        {"[00:40.00]chorus\n[00:10.00][00:30.00]verse\r\n[00:20.00]bridge",
         {"verse 10.000-20.000", "bridge 20.000-30.000", "verse 30.000-40.000", "chorus 40.000-44.000"}},
        // A positive offset shows every line sooner.
        {"[offset:+500]\n[00:01.00]one\n[00:00.20]zero\n[00:03.000]three",
         {"zero 0.000-0.500", "one 0.500-2.500", "three 2.500-6.500"}},
        // Enhanced word stamps become the line's words.
        {"[01:02.03]<01:02.03>Hold <01:02.50>on <01:03.10>tight\n[01:05.00]end",
         {"Hold on tight 62.030-65.000 62.030 62.500 63.100", "end 65.000-69.000"}},
        // Windows line ends and three-digit hundredths.
        {"[00:01.250]a\r\n[00:02.5]b\r\n", {"a 1.250-2.500", "b 2.500-6.500"}},
    };
    for (const auto &[text, lines] : rows)
        EXPECT_EQ(described(parseLrc(QString::fromUtf8(text))), lines) << text;
}
