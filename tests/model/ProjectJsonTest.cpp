#include "model/ProjectJson.h"
#include "support/Fixtures.h"

#include <QJsonDocument>

#include <gtest/gtest.h>

#include <cmath>
#include <functional>

using namespace quillvane;

TEST(ProjectDocument, RoundTripsAreEqualAndCanonical)
{
    Project full = test::fullyPopulatedProject();
    full.id = QUuid::fromString(QStringLiteral("{0f8fad5b-d9cb-469f-a165-70867728950e}"));
    for (const Project &project : {full, Project()}) {
        const Project read = readProjectDocument(writeProjectDocument(project));
        EXPECT_EQ(read, project);
        EXPECT_EQ(writeProjectDocument(read), writeProjectDocument(project));
    }
    // A default project omits its two empty optionals and writes no nulls.
    const QByteArray empty = writeProjectDocument(Project());
    EXPECT_EQ(QJsonDocument::fromJson(empty).object().keys().size(), 15);
    EXPECT_FALSE(empty.contains("null") || empty.contains("lyricsSource") || empty.contains("\"plan\""));

    const QString document = QString::fromUtf8(writeProjectDocument(full));
    for (const QString &form : {
             QStringLiteral("\"id\" : \"0F8FAD5B-D9CB-469F-A165-70867728950E\""), // upper-case id
             QStringLiteral("\"createdAt\" : \"2024-12-31T23:59:59Z\""),          // seconds and Z
             QStringLiteral(R"x("rawLyrics" : "Line one\nLine \"two\"\ttabbed\n\\ back slash")x"),
             QStringLiteral("\"fps\" : 24"),       // integers without a fraction
             QStringLiteral("\"end\" : 7.0000001"), // shortest doubles that read back
         })
        EXPECT_TRUE(document.contains(form)) << form.toStdString();
}

TEST(ProjectDocument, AValueTheReaderWouldRefuseIsNeverWritten)
{
    const std::pair<const char *, std::function<void(Project &)>> cases[] = {
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
    for (const auto &[name, spoil] : cases) {
        Project project;
        spoil(project);
        EXPECT_THROW(writeProjectDocument(project), EncodingError) << name;
    }
}
