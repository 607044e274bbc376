#include "model/ProjectJson.h"
#include "support/Fixtures.h"

#include <QJsonDocument>
#include <QRegularExpression>

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <map>

using namespace quillvane;

namespace {

QString text(const QByteArray &bytes) { return QString::fromUtf8(bytes); }

// Walks the pretty-printed document and returns the first object whose keys are not in
// ascending UTF-8 byte order ("" when every object is sorted).
QString firstUnsortedKey(const QByteArray &document)
{
    static const QRegularExpression keyLine(QStringLiteral(R"re(^( *)"((?:[^"\\]|\\.)*)" : )re"));
    const auto leadingSpaces = [](const QString &line) {
        int n = 0;
        while (n < line.size() && line.at(n) == QLatin1Char(' '))
            ++n;
        return n;
    };
    std::map<int, QByteArray> lastKeyAtDepth;
    for (const QString &line : text(document).split(QLatin1Char('\n'))) {
        const auto match = keyLine.match(line);
        if (match.hasMatch()) {
            const int depth = leadingSpaces(line);
            const QByteArray key = match.captured(2).toUtf8();
            if (!lastKeyAtDepth[depth].isEmpty() && !(lastKeyAtDepth[depth] < key))
                return QString::fromUtf8(key);
            lastKeyAtDepth[depth] = key;
        }
        // A new object starts: its keys sit one level deeper than the line that opens it.
        if (line.endsWith(QLatin1Char('{')))
            lastKeyAtDepth[leadingSpaces(line) + 2].clear();
    }
    return {};
}

} // namespace

TEST(ProjectDocument, RoundTripOfAFullyPopulatedProjectIsEqual)
{
    const Project project = test::fullyPopulatedProject();
    const Project read = readProjectDocument(writeProjectDocument(project));
    EXPECT_EQ(read, project);
    // Writing what was read gives the same bytes: the form is canonical.
    EXPECT_EQ(writeProjectDocument(read), writeProjectDocument(project));
}

TEST(ProjectDocument, RoundTripOfADefaultProjectIsEqualAndOmitsNothingButOptionals)
{
    const Project project;
    const QByteArray document = writeProjectDocument(project);
    EXPECT_EQ(readProjectDocument(document), project);

    const QJsonObject object = QJsonDocument::fromJson(document).object();
    EXPECT_EQ(object.size(), 15) << "seventeen keys less the two empty optionals";
    EXPECT_FALSE(object.contains(QStringLiteral("lyricsSource")));
    EXPECT_FALSE(object.contains(QStringLiteral("plan")));
    EXPECT_FALSE(document.contains("null"));
    EXPECT_TRUE(object.value(QStringLiteral("transcript")).isArray());
    EXPECT_EQ(object.value(QStringLiteral("title")).toString(), QString());
}

TEST(ProjectDocument, KeysAreSortedAtEveryLevelAndTheDocumentIsPrettyPrinted)
{
    const QByteArray document = writeProjectDocument(test::fullyPopulatedProject());
    EXPECT_EQ(firstUnsortedKey(document), QString());
    EXPECT_TRUE(document.startsWith("{\n  \"artist\" : "));
    const qsizetype audio = document.indexOf("\"audioPath\""), characters = document.indexOf("\"characters\""),
                    chunks = document.indexOf("\"chunks\""), conceptKey = document.indexOf("\"conceptPrompt\"");
    EXPECT_LT(audio, characters);
    EXPECT_LT(characters, chunks);
    EXPECT_LT(chunks, conceptKey);
    EXPECT_GT(document.count('\n'), 100);
}

TEST(ProjectDocument, ScalarFormsFollowTheDocumentRules)
{
    Project project = test::fullyPopulatedProject();
    project.id = QUuid::fromString(QStringLiteral("{0f8fad5b-d9cb-469f-a165-70867728950e}"));
    const QString document = text(writeProjectDocument(project));

    const struct {
        const char *what;
        QString expected;
    } cases[] = {
        {"upper-case id", QStringLiteral("\"id\" : \"0F8FAD5B-D9CB-469F-A165-70867728950E\"")},
        {"date with seconds and Z", QStringLiteral("\"createdAt\" : \"2024-12-31T23:59:59Z\"")},
        {"resolution text", QStringLiteral("\"resolution\" : \"4K\"")},
        {"container text", QStringLiteral("\"container\" : \"MOV (ProRes)\"")},
        {"lyrics source case name", QStringLiteral("\"lyricsSource\" : \"embeddedMismatch\"")},
        {"escaped quotes and tabs", QStringLiteral(R"x("rawLyrics" : "Line one\nLine \"two\"\ttabbed\n\\ back slash")x")},
        {"unicode kept", QStringLiteral("\"artist\" : \"Ünïcødé Band 🎸\"")},
        {"integers without fraction", QStringLiteral("\"fps\" : 24")},
        {"shortest round-trip doubles", QStringLiteral("\"end\" : 7.0000001")},
    };
    for (const auto &c : cases)
        EXPECT_TRUE(document.contains(c.expected)) << c.what << ": " << c.expected.toStdString();
}

TEST(ProjectDocument, OptionalFieldsHoldingNothingAreLeftOut)
{
    Project project;
    StoryboardChunk chunk = test::chunkWithFrame(false);
    chunk.frame->remoteURL.reset();
    chunk.frame->editRequest.reset();
    chunk.frame->motionClipPath.reset();
    project.chunks = {chunk};
    const QJsonObject frame = QJsonDocument::fromJson(writeProjectDocument(project))
                                  .object()[QStringLiteral("chunks")][0][QStringLiteral("frame")]
                                  .toObject();
    EXPECT_EQ(frame.keys(), (QStringList{QStringLiteral("createdAt"), QStringLiteral("id"), QStringLiteral("localPath"),
                                         QStringLiteral("prompt"), QStringLiteral("review")}));
    const QJsonObject chunkObject =
        QJsonDocument::fromJson(writeProjectDocument(project)).object()[QStringLiteral("chunks")][0].toObject();
    EXPECT_FALSE(chunkObject.contains(QStringLiteral("characterID")));
}

TEST(ProjectDocument, AValueTheReaderWouldRefuseIsNeverWritten)
{
    const struct {
        const char *name;
        std::function<void(Project &)> spoil;
    } cases[] = {
        {"a time that is not a number", [](Project &p) { p.transcript = {{QUuid::createUuid(), {}, 0, std::nan(""), {}}}; }},
        {"an infinite chunk end", [](Project &p) { p.chunks = {StoryboardChunk{}}; p.chunks[0].end = INFINITY; }},
        {"an infinite zoom", [](Project &p) { p.motion.zoom = -double(INFINITY); }},
        {"an invalid date", [](Project &p) { p.updatedAt = QDateTime(); }},
        {"a frame date past the year 9999",
         [](Project &p) {
             p.chunks = {test::chunkWithFrame(true)};
             p.chunks[0].frame->createdAt = QDateTime(QDate(12000, 1, 1), QTime(0, 0), Qt::UTC);
         }},
    };
    for (const auto &c : cases) {
        Project project;
        c.spoil(project);
        EXPECT_THROW(writeProjectDocument(project), EncodingError) << c.name;
    }
}

TEST(ProjectDocument, ALargeDocumentKeepsEveryChunkInOrder)
{
    Project project;
    for (int i = 0; i < 200; ++i) {
        StoryboardChunk chunk = test::chunkWithFrame(i % 2 == 0);
        chunk.index = i;
        chunk.chunkNumber = i + 1;
        chunk.undoStack = {*chunk.frame, *chunk.frame};
        project.chunks.append(chunk);
    }
    const Project read = readProjectDocument(writeProjectDocument(project));
    ASSERT_EQ(read.chunks.size(), 200);
    EXPECT_EQ(read, project);
}
