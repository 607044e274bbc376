#include "generation/PlanParser.h"
#include "model/PipelineConfig.h"
#include "support/Fixtures.h"

#include <QJsonDocument>

#include <gtest/gtest.h>

using namespace quillvane;

namespace {

PlanParser::Parsed parse(const QByteArray &text)
{
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(text, &error);
    EXPECT_EQ(error.error, QJsonParseError::NoError) << text.constData();
    return PlanParser::parse(document.object());
}

TEST(PlanParser, FindsThePlanWhereverThePlannerPutIt)
{
    const char *const cases[][2] = {
        {R"({"frames":[{"lyricExcerpt":"a"}]})", "a"},
        {R"({"output":{"plan":{"frames":[{"lyricExcerpt":"b"}]}}})", "b"},
        {R"({"text":"Here is your plan:\n```json\n{\"frames\":[{\"lyricExcerpt\":\"e\"}]}\n```\nEnjoy!"})", "e"},
        {R"({"chunks":[{"lyricExcerpt":"f"}]})", "f"},
        {R"({"frames":"later","chunks":[{"lyricExcerpt":"g"}]})", "g"},
    };
    for (const auto &c : cases) {
        const auto parsed = parse(c[0]);
        ASSERT_EQ(parsed.chunks.size(), 1) << c[0];
        EXPECT_EQ(parsed.chunks.first().lyricExcerpt, QString::fromUtf8(c[1])) << c[0];
    }
}

TEST(PlanParser, FailsWithNoChunksWhenThereAreNoFrames)
{
    for (const char *document : {R"({})", R"({"frames":[],"chunks":[{"lyricExcerpt":"ignored"}]})",
                                 R"({"frames":[{"lyricExcerpt":"a"},2]})", R"({"text":"I could not plan this song."})",
                                 R"({"text":"[{\"a\":1},{\"frames\":[{}]}]"})"}) {
        try {
            parse(document);
            ADD_FAILURE() << "parsed: " << document;
        } catch (const PipelineError &error) {
            EXPECT_EQ(error.kind(), PipelineError::Case::noChunks) << document;
        }
    }
}

TEST(PlanParser, TakesOnlyAListedStylePreset)
{
    const char *const cases[][2] = {
        {R"({"frames":[{}],"ideogramStylePreset":" WATERCOLOR\n"})", "WATERCOLOR"},
        {R"({"frames":[{}],"ideogramStylePreset":"watercolor"})", ""},
        {R"({"frames":[{}],"ideogramStylePreset":"NEON_DREAMS"})", ""},
        // The style director's own text wins, even over a listed preset in the plan.
        {R"({"frames":[{}],"ideogramStylePreset":"watercolor",
             "style_director_json":"```{\"ideogramStylePreset\":\"BAUHAUS\"}```"})", "BAUHAUS"},
        {R"({"plan":{"frames":[{}],"ideogramStylePreset":"CUBISM"},
             "styleDirectorJson":{"ideogramStylePreset":"AURA"}})", "AURA"},
        {R"({"a":{"frames":[{}]},"b":[{"ideogramStylePreset":"WEIRD"}]})", "WEIRD"},
    };
    for (const auto &c : cases)
        EXPECT_EQ(parse(c[0]).plan.ideogramStylePreset, QString::fromUtf8(c[1])) << c[0];
}

TEST(PlanParser, ReadsThePaletteAsListOrCommaSeparatedText)
{
    const struct {
        const char *palette;
        QStringList expected;
    } cases[] = {
        {R"(["teal"," amber "])", {QStringLiteral("teal"), QStringLiteral(" amber ")}},
        {R"("teal,   ,amber ,")", {QStringLiteral("teal"), QStringLiteral("amber")}},
        {R"("\tred\n, blue")", {QStringLiteral("red\n"), QStringLiteral("blue")}},
        {R"(["teal",3])", {}},
    };
    for (const auto &c : cases)
        EXPECT_EQ(parse(QByteArray(R"({"frames":[{}],"palette":)") + c.palette + "}").plan.palette, c.expected) << c.palette;
}

TEST(PlanParser, ReadsElementsWithIdsInOrder)
{
    const auto ids = [](const char *document) {
        QStringList ids;
        for (const auto &element : parse(document).plan.elements)
            ids.append(element.id);
        return ids.join(u' ');
    };
    EXPECT_EQ(ids(R"({"frames":[{}],"elementIds":[{"id":"e1"},{"type":"prop"},{"id":""},{"id":4},{"id":"e2"}]})"),
              QStringLiteral("e1 e2"));
    EXPECT_EQ(ids(R"({"plan":{"frames":[{}],"elementIds":["e1"]},"extra":{"elementIds":[{"id":"x"}]}})"),
              QStringLiteral("x"))
        << "an id list of plain strings sends the search elsewhere";
    EXPECT_EQ(ids(R"({"frames":[{}],"elementIds":[{"id":"a"},"b"]})"), QString());

    const auto element = parse(R"({"frames":[{}],"elementIds":[{"id":"e1","type":"prop",
        "continuityDescription":"red kite","textToImagePrompt":7}]})").plan.elements.value(0);
    EXPECT_EQ(element, (PlanElement{QStringLiteral("e1"), QStringLiteral("prop"), QStringLiteral("red kite"), {}, {}, {}}));
}

TEST(PlanParser, ReadsEachFrameIntoAChunk)
{
    const struct {
        const char *frame;
        qint64 chunkNumber;
        double start, end;
        bool primary;
        bool usesKite;
    } cases[] = {
        {R"({})", 1, 0, 0, true, false},
        {R"({"chunkNumber":4.9,"frameNumber":9})", 4, 0, 0, true, false},
        {R"({"chunkNumber":"8"})", 3, 0, 0, true, false},
        {R"({"startTime":10,"endTime":8})", 4, 10, 10, true, false},
        {R"({"startTime":"3","endTime":4})", 5, 0, 4, true, false},
        {R"({"elementIdsUsed":["kite"]})", 6, 0, 0, false, true},
        {R"({"elementIdsUsed":["kite",1]})", 7, 0, 0, true, false},
        {R"({"elementIdsUsed":["kite"],"primaryCharacterInFrame":"true"})", 8, 0, 0, false, true},
    };
    QByteArray document = "{\"frames\":[";
    for (const auto &c : cases)
        document += QByteArray(c.frame) + ",";
    document.back() = ']';
    const auto chunks = parse(document + "}").chunks;
    ASSERT_EQ(chunks.size(), std::size(cases));
    for (qsizetype i = 0; i < chunks.size(); ++i) {
        const auto &chunk = chunks.at(i);
        const auto &want = cases[i];
        EXPECT_EQ(chunk.chunkNumber, want.chunkNumber) << want.frame;
        EXPECT_EQ(chunk.index, want.chunkNumber - 1) << want.frame;
        EXPECT_EQ(chunk.start, want.start) << want.frame;
        EXPECT_EQ(chunk.end, want.end) << want.frame;
        EXPECT_EQ(chunk.primaryCharacterInFrame, want.primary) << want.frame;
        EXPECT_EQ(chunk.elementIdsUsed, want.usesKite ? QStringList{QStringLiteral("kite")} : QStringList()) << want.frame;
    }
}

} // namespace
