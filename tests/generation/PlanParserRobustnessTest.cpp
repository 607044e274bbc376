// The planner's answer comes from a language model, so the parser sees anything: plans cut
// off mid-document, keys of the right name holding the wrong kind of value, JSON text inside
// strings inside JSON. Thousands of such documents, made from a fixed seed so a failure
// repeats, must each give a storyboard or the one "no frames" error, and never anything else.

#include "generation/PlanParser.h"
#include "model/PipelineConfig.h"

#include <QJsonArray>
#include <QJsonDocument>

#include <gtest/gtest.h>

#include <random>

using namespace quillvane;

namespace {

// Keys the parser looks for, mixed with keys it does not know, so random documents often
// reach the code that reads them.
const char *const keys[] = {"frames", "chunks", "elementIds", "chunkNumber", "frameNumber", "startTime", "endTime",
                            "lyricExcerpt", "renderedText", "elementIdsUsed", "primaryCharacterInFrame", "palette",
                            "ideogramStylePreset", "style_director_json", "styleDirectorJson", "styleDirector",
                            "results", "id", "type", "output", "data", "motif"};

class DocumentMaker {
public:
    explicit DocumentMaker(std::uint32_t seed) : m_random(seed) {}

    int below(int bound) { return std::uniform_int_distribution<int>(0, bound - 1)(m_random); }

    QJsonValue value(int depth)
    {
        switch (below(depth > 4 ? 5 : 9)) {
        case 0: return QJsonValue();
        case 1: return below(2) == 0;
        case 2: return number();
        case 3: return text();
        case 4: return QStringLiteral("WATERCOLOR");
        case 5:
        case 6: return object(depth + 1);
        case 7: return array(depth + 1);
        default: return embedded(depth + 1);
        }
    }

    QJsonObject object(int depth)
    {
        QJsonObject result;
        for (int n = below(6); n > 0; --n) {
            const QString key = QString::fromUtf8(keys[below(int(std::size(keys)))]);
            // Lists where the parser expects them, most of the time, so many documents plan.
            const bool list = key == QStringLiteral("frames") || key == QStringLiteral("chunks")
                || key == QStringLiteral("elementIds");
            result.insert(key, list && below(3) != 0 ? QJsonValue(array(depth + 1)) : value(depth));
        }
        return result;
    }

    QJsonArray array(int depth)
    {
        QJsonArray result;
        for (int n = below(5); n > 0; --n)
            result.append(below(3) == 0 ? value(depth) : QJsonValue(object(depth)));
        return result;
    }

    // JSON text inside a string, wrapped in prose or a fence and often cut short.
    QString embedded(int depth)
    {
        const QString inner = QString::fromUtf8(QJsonDocument(object(depth)).toJson(QJsonDocument::Compact));
        const QString framed = QStringLiteral("Here it is:\n```json\n") + inner + QStringLiteral("\n``` } {");
        return below(3) == 0 ? framed.left(below(int(framed.size()) + 1)) : framed;
    }

    // Text cut at a random point, as a stream that ended early leaves it.
    QByteArray truncated(const QByteArray &text) { return below(4) == 0 ? text : text.left(below(int(text.size()) + 1)); }

private:
    QJsonValue number()
    {
        static const double extremes[] = {0, -1, 0.5, 2.999, -7.25, 1e18, -1e18, 1e300, -1e300, 9.3e18};
        if (below(3) == 0)
            return extremes[below(int(std::size(extremes)))];
        return std::uniform_real_distribution<double>(-50, 500)(m_random);
    }
    QString text()
    {
        static const char *const texts[] = {"", "{", "}", "} {", "3", "teal, , amber ,", "City lights", "{\"frames\":[{}]}"};
        return QString::fromUtf8(texts[below(int(std::size(texts)))]);
    }

    std::mt19937 m_random;
};

TEST(PlanParserRobustness, RandomTruncatedDocumentsGiveAStoryboardOrNoChunks)
{
    DocumentMaker maker(20261122);
    int parsed = 0;
    int rejected = 0;
    for (int i = 0; i < 3000; ++i) {
        const QByteArray full = QJsonDocument(maker.object(0)).toJson(QJsonDocument::Compact);
        const QByteArray text = maker.truncated(full);
        const QJsonDocument reread = QJsonDocument::fromJson(text);
        QJsonObject document;
        if (reread.isObject())
            document = reread.object();
        else
            document.insert(QStringLiteral("output"), QString::fromUtf8(text));
        SCOPED_TRACE(text.toStdString());
        try {
            const PlanParser::Parsed result = PlanParser::parse(document);
            ++parsed;
            ASSERT_FALSE(result.chunks.isEmpty());
            for (const StoryboardChunk &chunk : result.chunks) {
                EXPECT_EQ(chunk.index, chunk.chunkNumber - 1);
                EXPECT_GE(chunk.end, chunk.start);
                EXPECT_FALSE(chunk.frame);
            }
        } catch (const PipelineError &error) {
            ++rejected;
            ASSERT_EQ(error.kind(), PipelineError::Case::noChunks);
        } catch (const std::exception &error) {
            FAIL() << "unexpected exception: " << error.what();
        } catch (...) {
            FAIL() << "unexpected exception";
        }
    }
    // Both outcomes must be common, or the documents are not exercising the parser.
    EXPECT_GT(parsed, 100);
    EXPECT_GT(rejected, 100);
}

} // namespace
