#include "generation/FrameGeneration.h"
#include "generation/PlanParser.h"
#include "studio/StudioPainter.h"
#include "studio/StudioPlanner.h"

#include <QJsonArray>

#include <gtest/gtest.h>

namespace quillvane {
namespace {

// The planner's input for a transcript of n lines, each `length` seconds long, as the planning
// run writes it.
QJsonObject input(int lines, double length)
{
    QStringList text;
    for (int i = 0; i < lines; ++i)
        text.append(QString::asprintf("[%.1f-%.1f] ", i * length, (i + 1) * length)
                    + QStringLiteral("City lights and snow on the road, line %1").arg(i + 1));
    return {{QStringLiteral("artist"), QStringLiteral("Mara Vale")},
            {QStringLiteral("duration_seconds"), qint64(lines * length)},
            {QStringLiteral("transcript"), text.join(QLatin1Char('\n'))},
            {QStringLiteral("style_guidance"), QStringLiteral("80s neon, moody")},
            {QStringLiteral("image_urls"), QJsonArray{}}};
}

// Short songs, a single line and long ones: the parser reads every plan, and no frame is too
// short or outside the song; the same input always gives the same plan.
TEST(StudioPlanner, TheParserReadsADeterministicPlanWithoutShortFramesInsideTheSong)
{
    for (const auto &[lines, length] : {std::pair{1, 4.0}, {7, 1.5}, {60, 3.2}}) {
        SCOPED_TRACE(lines);
        const PlanParser::Parsed parsed = PlanParser::parse(studio::planResult(input(lines, length)));
        ASSERT_FALSE(parsed.chunks.isEmpty());
        for (qsizetype i = 0; i < parsed.chunks.size(); ++i) {
            const StoryboardChunk &chunk = parsed.chunks[i];
            EXPECT_EQ(chunk.chunkNumber, i + 1);
            EXPECT_GE(chunk.start, 0);
            EXPECT_LE(chunk.end, lines * length + 1e-9);
            EXPECT_TRUE(parsed.chunks.size() == 1 || chunk.end - chunk.start >= 2.5 - 1e-9) << i;
            EXPECT_FALSE(chunk.renderedText.isEmpty());
            for (const QString &id : chunk.elementIdsUsed)
                EXPECT_TRUE(std::any_of(parsed.plan.elements.begin(), parsed.plan.elements.end(),
                                        [&](const PlanElement &e) { return e.id == id; }));
            EXPECT_EQ(chunk.primaryCharacterInFrame, chunk.elementIdsUsed.isEmpty());
        }
        EXPECT_GE(parsed.plan.elements.size(), 2);
        EXPECT_LE(parsed.plan.elements.size(), 4);
        EXPECT_EQ(parsed.plan.ideogramStylePreset, QStringLiteral("NIGHTLIFE"));
        EXPECT_EQ(parsed.plan.palette.size(), 4);
        EXPECT_FALSE(parsed.plan.artDirectionStatement.isEmpty());
    }
    EXPECT_EQ(studio::planResult(input(7, 3.0)), studio::planResult(input(7, 3.0)));
    EXPECT_NE(studio::planResult(input(7, 3.0)), studio::planResult(input(8, 3.0)));
}

// The road an offline frame takes, from the plan request to the picture: when the lyrics are
// sung over the video the studio letters nothing (and finds no things in the request's own
// words); otherwise each frame carries its lyric.
TEST(StudioPlanner, ASungStoryboardIsPaintedWithoutWords)
{
    for (const LyricsOnScreen lyrics : {LyricsOnScreen::painted, LyricsOnScreen::sung}) {
        SCOPED_TRACE(qPrintable(textValue(lyrics)));
        QJsonObject request = input(4, 3.0);
        if (lyrics == LyricsOnScreen::sung)
            request[QStringLiteral("style_guidance")] = QStringLiteral("80s neon, moody. ") + noWordsInPlan;
        const PlanParser::Parsed parsed = PlanParser::parse(studio::planResult(request));
        const StoryboardPlan painted = PlanParser::parse(studio::planResult(input(4, 3.0))).plan;
        EXPECT_EQ(parsed.plan.elements, painted.elements) << "the same things, whatever the request's words";
        EXPECT_EQ(parsed.plan.palette, painted.palette);
        for (const StoryboardChunk &chunk : parsed.chunks) {
            const studio::FrameSpec scene = studio::frameSpecFromPrompt(framePrompt(chunk, StyleGuidance{}, lyrics));
            EXPECT_EQ(scene.text, lyrics == LyricsOnScreen::sung ? QString() : chunk.renderedText);
        }
    }
}

} // namespace
} // namespace quillvane
