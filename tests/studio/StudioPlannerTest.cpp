#include "generation/PlanParser.h"
#include "studio/StudioPlanner.h"

#include <QJsonArray>

#include <gtest/gtest.h>

namespace quillvane {
namespace {

// A transcript of n lines, each `length` seconds long, as the planning run writes it.
QString transcript(int lines, double length)
{
    QStringList text;
    for (int i = 0; i < lines; ++i)
        text.append(QString::asprintf("[%.1f-%.1f] ", i * length, (i + 1) * length)
                    + QStringLiteral("City lights and snow on the road, line %1").arg(i + 1));
    return text.join(QLatin1Char('\n'));
}

QJsonObject input(int lines, double length)
{
    return {{QStringLiteral("artist"), QStringLiteral("Mara Vale")},
            {QStringLiteral("duration_seconds"), qint64(lines * length)},
            {QStringLiteral("transcript"), transcript(lines, length)},
            {QStringLiteral("style_guidance"), QStringLiteral("80s neon, moody")},
            {QStringLiteral("image_urls"), QJsonArray{}}};
}

struct PlanCase {
    int lines;
    double length;
};

class StudioPlan : public testing::TestWithParam<PlanCase> {};

TEST_P(StudioPlan, TheParserReadsAPlanWithoutShortFramesInsideTheSong)
{
    const PlanCase row = GetParam();
    const PlanParser::Parsed parsed = PlanParser::parse(studio::planResult(input(row.lines, row.length)));
    ASSERT_FALSE(parsed.chunks.isEmpty());
    const double song = row.lines * row.length;
    for (qsizetype i = 0; i < parsed.chunks.size(); ++i) {
        const StoryboardChunk &chunk = parsed.chunks[i];
        EXPECT_EQ(chunk.chunkNumber, i + 1);
        EXPECT_GE(chunk.start, 0);
        EXPECT_LE(chunk.end, song + 1e-9);
        if (parsed.chunks.size() > 1) {
            EXPECT_GE(chunk.end - chunk.start, 2.5 - 1e-9) << i;
        }
        EXPECT_FALSE(chunk.renderedText.isEmpty());
        for (const QString &id : chunk.elementIdsUsed) {
            EXPECT_TRUE(std::any_of(parsed.plan.elements.begin(), parsed.plan.elements.end(),
                                    [&](const PlanElement &e) { return e.id == id; }));
        }
        EXPECT_EQ(chunk.primaryCharacterInFrame, chunk.elementIdsUsed.isEmpty());
    }
    EXPECT_GE(parsed.plan.elements.size(), 2);
    EXPECT_LE(parsed.plan.elements.size(), 4);
    EXPECT_EQ(parsed.plan.ideogramStylePreset, QStringLiteral("NIGHTLIFE"));
    EXPECT_EQ(parsed.plan.palette.size(), 4);
    EXPECT_FALSE(parsed.plan.artDirectionStatement.isEmpty());
}

INSTANTIATE_TEST_SUITE_P(Transcripts, StudioPlan,
                         testing::Values(PlanCase{1, 4.0}, PlanCase{7, 1.5}, PlanCase{60, 3.2}));

TEST(StudioPlanner, TheSameInputGivesTheSamePlan)
{
    EXPECT_EQ(studio::planResult(input(7, 3.0)), studio::planResult(input(7, 3.0)));
    EXPECT_NE(studio::planResult(input(7, 3.0)), studio::planResult(input(8, 3.0)));
}

} // namespace
} // namespace quillvane
