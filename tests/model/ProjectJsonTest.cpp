#include "model/ProjectJson.h"
#include "support/Fixtures.h"

#include <QJsonDocument>

#include <gtest/gtest.h>

#include <cmath>
#include <functional>

using namespace quillvane;

namespace {

QString text(const QByteArray &bytes) { return QString::fromUtf8(bytes); }

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
        {"escaped quotes and tabs", QStringLiteral(R"x("rawLyrics" : "Line one\nLine \"two\"\ttabbed\n\\ back slash")x")},
        {"integers without fraction", QStringLiteral("\"fps\" : 24")},
        {"shortest round-trip doubles", QStringLiteral("\"end\" : 7.0000001")},
    };
    for (const auto &c : cases)
        EXPECT_TRUE(document.contains(c.expected)) << c.what << ": " << c.expected.toStdString();
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
