#include "generation/PlanParser.h"
#include "model/PipelineConfig.h"
#include "support/Fixtures.h"

#include <QJsonDocument>
#include <QSet>

#include <gtest/gtest.h>

using namespace quillvane;

namespace {

QJsonObject object(const char *text)
{
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(QByteArray(text), &error);
    EXPECT_EQ(error.error, QJsonParseError::NoError) << text;
    return document.object();
}

PlanParser::Parsed parse(const char *text)
{
    return PlanParser::parse(object(text));
}

struct DocumentCase {
    const char *name;
    const char *document;
    const char *expected; // the first chunk's lyric, or the style preset
};

const DocumentCase wrappings[] = {
    {"plan at the top", R"({"frames":[{"lyricExcerpt":"a"}]})", "a"},
    {"plan inside output objects", R"({"output":{"plan":{"frames":[{"lyricExcerpt":"b"}]}}})", "b"},
    {"plan in a fence after prose",
     R"({"text":"Here is your plan:\n```json\n{\"frames\":[{\"lyricExcerpt\":\"e\"}]}\n```\nEnjoy!"})", "e"},
    {"frames named chunks", R"({"chunks":[{"lyricExcerpt":"f"}]})", "f"},
    {"frames not a list, chunks beside them", R"({"frames":"later","chunks":[{"lyricExcerpt":"g"}]})", "g"},
};

TEST(PlanParser, FindsThePlanWhereverThePlannerPutIt)
{
    for (const auto &c : wrappings) {
        const auto parsed = parse(c.document);
        ASSERT_EQ(parsed.chunks.size(), 1) << c.name;
        EXPECT_EQ(parsed.chunks.first().lyricExcerpt, QString::fromUtf8(c.expected)) << c.name;
    }
}

TEST(PlanParser, FailsWithNoChunksWhenThereAreNoFrames)
{
    const char *documents[] = {
        R"({})",
        R"({"frames":[],"chunks":[{"lyricExcerpt":"ignored"}]})",
        R"({"frames":[{"lyricExcerpt":"a"},2]})",
        R"({"text":"I could not plan this song."})",
        R"({"text":"[{\"a\":1},{\"frames\":[{}]}]"})",
    };
    for (const char *document : documents) {
        try {
            parse(document);
            ADD_FAILURE() << "parsed: " << document;
        } catch (const PipelineError &error) {
            EXPECT_EQ(error.kind(), PipelineError::Case::noChunks) << document;
        }
    }
}

const DocumentCase presets[] = {
    {"listed name, trimmed", R"({"frames":[{}],"ideogramStylePreset":" WATERCOLOR\n"})", "WATERCOLOR"},
    {"other case is not listed", R"({"frames":[{}],"ideogramStylePreset":"watercolor"})", ""},
    {"unlisted name", R"({"frames":[{}],"ideogramStylePreset":"NEON_DREAMS"})", ""},
    {"style director text beside an unlisted name",
     R"({"frames":[{}],"ideogramStylePreset":"watercolor",
         "style_director_json":"```{\"ideogramStylePreset\":\"BAUHAUS\"}```"})", "BAUHAUS"},
    {"style director before plan", R"({"plan":{"frames":[{}],"ideogramStylePreset":"CUBISM"},
         "styleDirectorJson":{"ideogramStylePreset":"AURA"}})", "AURA"},
    {"sibling of the plan", R"({"a":{"frames":[{}]},"b":[{"ideogramStylePreset":"WEIRD"}]})", "WEIRD"},
};

TEST(PlanParser, TakesOnlyAListedStylePreset)
{
    for (const auto &c : presets)
        EXPECT_EQ(parse(c.document).plan.ideogramStylePreset, QString::fromUtf8(c.expected)) << c.name;
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
    for (const auto &c : cases) {
        const QByteArray document = QByteArray(R"({"frames":[{}],"palette":)") + c.palette + "}";
        EXPECT_EQ(parse(document.constData()).plan.palette, c.expected) << c.palette;
    }
}

TEST(PlanParser, ReadsElementsWithIdsInOrder)
{
    const auto in = [](const char *document) {
        QStringList ids;
        for (const auto &element : parse(document).plan.elements)
            ids.append(element.id);
        return ids;
    };
    EXPECT_EQ(in(R"({"frames":[{}],"elementIds":[{"id":"e1"},{"type":"prop"},{"id":""},{"id":4},{"id":"e2"}]})"),
        QStringList({QStringLiteral("e1"), QStringLiteral("e2")}));
    EXPECT_EQ(in(R"({"plan":{"frames":[{}],"elementIds":["e1"]},"extra":{"elementIds":[{"id":"x"}]}})"),
        QStringList({QStringLiteral("x")}))
        << "an id list of plain strings sends the search elsewhere";
    EXPECT_EQ(in(R"({"frames":[{}],"elementIds":[{"id":"a"},"b"]})"), QStringList());

    const auto element = parse(R"({"frames":[{}],"elementIds":[{"id":"e1","type":"prop",
        "continuityDescription":"red kite","textToImagePrompt":7}]})").plan.elements.value(0);
    EXPECT_EQ(element, (PlanElement{QStringLiteral("e1"), QStringLiteral("prop"), QStringLiteral("red kite"), {}, {}, {}}));
}

TEST(PlanParser, ReadsEachFrameIntoAChunk)
{
    struct Expected {
        qint64 chunkNumber;
        double start, end;
        bool primary;
        QStringList elementIds;
    };
    const QStringList kite{QStringLiteral("kite")};
    const struct {
        const char *frame;
        Expected expected;
    } cases[] = {
        {R"({})", {1, 0, 0, true, {}}},
        {R"({"chunkNumber":4.9,"frameNumber":9})", {4, 0, 0, true, {}}},
        {R"({"chunkNumber":"8"})", {3, 0, 0, true, {}}},
        {R"({"startTime":10,"endTime":8})", {4, 10, 10, true, {}}},
        {R"({"startTime":"3","endTime":4})", {5, 0, 4, true, {}}},
        {R"({"elementIdsUsed":["kite"]})", {6, 0, 0, false, kite}},
        {R"({"elementIdsUsed":["kite",1]})", {7, 0, 0, true, {}}},
        {R"({"elementIdsUsed":["kite"],"primaryCharacterInFrame":"true"})", {8, 0, 0, false, kite}},
    };
    QByteArray document = "{\"frames\":[";
    for (const auto &c : cases)
        document += QByteArray(c.frame) + ",";
    document.chop(1);
    document += "]}";

    const auto chunks = parse(document.constData()).chunks;
    ASSERT_EQ(chunks.size(), std::size(cases));
    for (qsizetype i = 0; i < chunks.size(); ++i) {
        const auto &chunk = chunks.at(i);
        const auto &want = cases[i].expected;
        EXPECT_EQ(chunk.chunkNumber, want.chunkNumber) << cases[i].frame;
        EXPECT_EQ(chunk.index, want.chunkNumber - 1) << cases[i].frame;
        EXPECT_EQ(chunk.start, want.start) << cases[i].frame;
        EXPECT_EQ(chunk.end, want.end) << cases[i].frame;
        EXPECT_EQ(chunk.primaryCharacterInFrame, want.primary) << cases[i].frame;
        EXPECT_EQ(chunk.elementIdsUsed, want.elementIds) << cases[i].frame;
    }
}

} // namespace
