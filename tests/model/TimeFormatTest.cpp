// The one way times are shown and read back, on the screens and the command line alike.

#include "model/TimeFormat.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

using namespace quillvane;

TEST(TimeFormat, BothPrecisionsCutToTheUnitShown)
{
    const struct {
        double seconds;
        const char *whole, *hundredths;
    } rows[] = {
        {0, "0:00", "0:00.00"},
        {59.5, "0:59", "0:59.50"},
        {59.999, "0:59", "0:59.99"},
        {61.4, "1:01", "1:01.40"}, // held as 61.3999…
        {70.6, "1:10", "1:10.60"},
        {600.05, "10:00", "10:00.05"},
        {3599.6, "59:59", "59:59.60"},
        {3725, "62:05", "62:05.00"},
        {-0.5, "0:00", "-0:00.50"},
        {-61.25, "-1:01", "-1:01.25"},
        {std::numeric_limits<double>::quiet_NaN(), "–:––", "–:––"},
    };
    for (const auto &row : rows) {
        EXPECT_EQ(clockText(row.seconds, ClockUnit::seconds), QString::fromUtf8(row.whole)) << row.seconds;
        EXPECT_EQ(clockText(row.seconds, ClockUnit::hundredths), QString::fromUtf8(row.hundredths)) << row.seconds;
    }
}

TEST(TimeFormat, TypedTimesReadBackAsWritten)
{
    const std::pair<const char *, double> rows[] = {{"1:02.35", 62.35}, {"62.35", 62.35}, {"0:00.00", 0},
                                                    {"1:00:01.5", 3601.5}, {" 3:07 ", 187}};
    for (const auto &[text, seconds] : rows)
        EXPECT_NEAR(parseClock(QString::fromLatin1(text)), seconds, 1e-9) << text;
    for (const char *bad : {"", "x", "1:75", "-3", "1.5:20", "1:2:3:4"})
        EXPECT_TRUE(std::isnan(parseClock(QString::fromLatin1(bad)))) << bad;
    for (const double seconds : {0.0, 9.99, 61.4, 600.05})
        EXPECT_NEAR(parseClock(clockText(seconds, ClockUnit::hundredths)), seconds, 1e-9) << seconds;
}
