// Reading the planner's answer for a long song: 500 frames, sent back as JSON text inside a
// string of the result document, as the planner workflow does. The parser reads that text
// and searches the whole document for the plan, the elements and the style preset, so the
// time grows with the answer; it has to stay far below the wait for the planner itself.

#include "generation/PlanParser.h"

#include <QJsonArray>
#include <QJsonDocument>

#include <benchmark/benchmark.h>

using namespace quillvane;

namespace {

QJsonObject plannerAnswer(int frames)
{
    QJsonArray frameList;
    for (int i = 0; i < frames; ++i) {
        frameList.append(QJsonObject{
            {QStringLiteral("frameNumber"), i + 1},
            {QStringLiteral("startTime"), i * 2.5},
            {QStringLiteral("endTime"), i * 2.5 + 2.5},
            {QStringLiteral("lyricExcerpt"), QStringLiteral("City lights are burning low, line %1").arg(i + 1)},
            {QStringLiteral("renderedText"), QStringLiteral("CITY LIGHTS ARE BURNING LOW")},
            {QStringLiteral("elementIdsUsed"), QJsonArray{QStringLiteral("red-jacket"), QStringLiteral("night-bus")}},
            {QStringLiteral("primaryCharacterInFrame"), i % 3 != 0},
            {QStringLiteral("imagePrompt"),
             QStringLiteral("Hand-painted marker letters reading \"CITY LIGHTS ARE BURNING LOW\" on a wet brick wall "
                            "at dusk, the red jacket in the foreground, acid and coral palette, frame %1")
                 .arg(i + 1)},
            {QStringLiteral("videoPrompt"), QStringLiteral("slow push-in, rain streaks, neon flicker")},
        });
    }
    QJsonArray elements;
    for (const char *id : {"red-jacket", "night-bus", "neon-sign", "umbrella"})
        elements.append(QJsonObject{{QStringLiteral("id"), QString::fromUtf8(id)},
                                    {QStringLiteral("type"), QStringLiteral("prop")},
                                    {QStringLiteral("continuityDescription"), QStringLiteral("same in every frame")},
                                    {QStringLiteral("textToImagePrompt"), QStringLiteral("a studio shot")}});
    const QJsonObject plan{
        {QStringLiteral("artDirectionStatement"), QStringLiteral("Hand-lettered city at night")},
        {QStringLiteral("palette"), QStringLiteral("teal, amber, coral")},
        {QStringLiteral("motif"), QStringLiteral("wet reflections")},
        {QStringLiteral("storyline"), QStringLiteral("a night walk home")},
        {QStringLiteral("emotionalArc"), QStringLiteral("lonely to warm")},
        {QStringLiteral("visualAnchor"), QStringLiteral("the red jacket")},
        {QStringLiteral("elementIds"), elements},
        {QStringLiteral("style_director_json"), QJsonObject{{QStringLiteral("ideogramStylePreset"), QStringLiteral("WATERCOLOR")}}},
        {QStringLiteral("frames"), frameList},
    };
    const QString text = QStringLiteral("Here is the storyboard:\n```json\n")
        + QString::fromUtf8(QJsonDocument(plan).toJson(QJsonDocument::Indented)) + QStringLiteral("\n```");
    return {{QStringLiteral("output"), QJsonObject{{QStringLiteral("text"), text}}}};
}

void BM_ParseEmbeddedPlan(benchmark::State &state)
{
    const QJsonObject answer = plannerAnswer(int(state.range(0)));
    for (auto _ : state) {
        PlanParser::Parsed parsed = PlanParser::parse(answer);
        benchmark::DoNotOptimize(parsed);
        if (parsed.chunks.size() != state.range(0))
            state.SkipWithError("wrong number of chunks");
    }
}
BENCHMARK(BM_ParseEmbeddedPlan)->Arg(500)->Unit(benchmark::kMillisecond);

} // namespace

BENCHMARK_MAIN();
