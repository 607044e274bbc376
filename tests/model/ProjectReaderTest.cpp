// The reader's tolerant and strict rules, one document per row.

#include "model/ProjectJson.h"

#include <gtest/gtest.h>

#include <functional>

using namespace quillvane;

namespace {

const char *const frameJSON =
    R"j({"id":"8E1B2D9C-7A34-4E1F-9C2B-1D2E3F4A5B6C","localPath":"/f.png","prompt":"p","createdAt":"2025-03-14T09:26:53Z",
        "review":{"spellingCorrect":true,"readable":true,"placementOK":true,"characterConsistent":true,"styleContinuous":false}})j";

QByteArray withChunk(const QByteArray &chunk) { return "{\"chunks\":[" + chunk + "]}"; }

struct ReaderCase {
    const char *name;
    QByteArray document;
    // Checks on the project read; empty when the read must fail.
    std::function<void(const Project &)> check;
    const char *where = ""; // in the failure's sentence
};

void expectDefaults(const Project &p)
{
    // Only the identity and the times are made up on reading; they are fresh and new.
    Project defaults;
    defaults.id = p.id;
    defaults.createdAt = defaults.updatedAt = p.createdAt;
    EXPECT_EQ(p, defaults);
    EXPECT_FALSE(p.id.isNull());
    EXPECT_LE(std::abs(p.createdAt.secsTo(QDateTime::currentDateTimeUtc())), 2);
}

const ReaderCase readerCases[] = {
    // Tolerant top level.
    {"empty object reads as defaults", "{}", expectDefaults},
    {"null members read as absent", R"j({"title":null,"plan":null,"lyricsSource":null,"chunks":null})j", expectDefaults},
    {"unknown keys are ignored at every level",
     R"j({"future":1,"style":{"paletteName":"a","mood":"b","medium":"c","negativePrompts":"d","continuityNotes":"e","extra":[]}})j",
     [](const Project &p) { EXPECT_EQ(p.style.continuityNotes, QStringLiteral("e")); }},
    {"upper- and lower-case identifiers both read",
     R"j({"id":"0f8fad5b-d9cb-469f-a165-70867728950e"})j",
     [](const Project &p) { EXPECT_EQ(p.id, QUuid::fromString(QStringLiteral("0F8FAD5B-D9CB-469F-A165-70867728950E"))); }},
    {"a date with a numeric offset reads in UTC", R"j({"createdAt":"2025-03-14T11:26:53+02:00"})j",
     [](const Project &p) { EXPECT_EQ(p.createdAt, QDateTime(QDate(2025, 3, 14), QTime(9, 26, 53), Qt::UTC)); }},
    {"motion saved before clip timing existed follows the song; whole numbers may have a zero fraction",
     R"j({"motion":{"intensity":1,"zoom":0,"durationSeconds":4,"fps":30.0,"loop":false}})j",
     [](const Project &p) { EXPECT_EQ(std::pair(p.motion.fps, p.motion.clipTiming), std::pair(qint64(30), ClipTiming::followSong)); }},

    // Tolerant storyboard.
    {"a chunk with only index 4", withChunk(R"j({"index":4})j"),
     [](const Project &p) {
         const StoryboardChunk &c = p.chunks.at(0);
         EXPECT_EQ(c.chunkNumber, 5) << "numbered from the index";
         EXPECT_TRUE(c.lyricExcerpt.isEmpty() && c.undoStack.isEmpty());
         EXPECT_FALSE(c.frame || c.characterID || c.id.isNull());
     }},
    {"a chunk's frame is read strictly but completely", withChunk(QByteArray(R"j({"frame":)j") + frameJSON + "}"),
     [](const Project &p) {
         const GeneratedFrame &f = *p.chunks.at(0).frame;
         EXPECT_EQ(f.review.passedCount(), 4);
         EXPECT_FALSE(f.remoteURL || f.editRequest || f.motionClipPath);
     }},
    {"a plan with missing keys reads as empty texts", R"j({"plan":{"motif":"rain"}})j",
     [](const Project &p) {
         EXPECT_EQ(p.plan->motif, QStringLiteral("rain"));
         EXPECT_TRUE(p.plan->palette.isEmpty() && p.plan->elements.isEmpty() && p.plan->rawJSON.isEmpty());
     }},

    // Failures.
    {"not JSON", "this is not json", {}},
    {"an array at the top", "[]", {}},
    {"a wrongly typed top-level key", R"j({"title":42})j", {}},
    {"chunks that are not an array", R"j({"chunks":{}})j", {}},
    {"a frame without review",
     withChunk(R"j({"frame":{"id":"8E1B2D9C-7A34-4E1F-9C2B-1D2E3F4A5B6C","localPath":"","prompt":"","createdAt":"2025-03-14T09:26:53Z"}})j"),
     {}},
    {"a character without notes", R"j({"characters":[{"id":"8E1B2D9C-7A34-4E1F-9C2B-1D2E3F4A5B6C","name":"M","referenceImagePaths":[]}]})j", {}},
    {"a resolution of 2160p", R"j({"export":{"resolution":"2160p","container":"MP4 (H.264)","includeOriginalAudio":true,"destinationFolder":""}})j", {}},
    {"an unknown lyrics source", R"j({"lyricsSource":"radio"})j", {}},
    {"a date with fractional seconds", R"j({"createdAt":"2025-03-14T09:26:53.120Z"})j", {}},
    {"an impossible date", R"j({"updatedAt":"2025-02-30T09:26:53Z"})j", {}},
    {"an identifier in braces", R"j({"id":"{0f8fad5b-d9cb-469f-a165-70867728950e}"})j", {}},
    {"a fractional chunk index", withChunk(R"j({"index":2.5})j"), {}},
    {"a malformed identifier, said where", withChunk(R"j({"index":0},{"frame":{"id":"nope"}})j"), {}, "chunks[1].frame.id"},
    {"a required member holding null", R"j({"transcript":[{"id":"8E1B2D9C-7A34-4E1F-9C2B-1D2E3F4A5B6C","text":null,"start":0,"end":1}]})j", {}},
    {"a plan element without prompt", R"j({"plan":{"elements":[{"id":"a","type":"b","continuityDescription":"c"}]}})j", {}},
    {"a string where a list belongs", R"j({"characters":[{"id":"8E1B2D9C-7A34-4E1F-9C2B-1D2E3F4A5B6C","name":"M","notes":"","referenceImagePaths":"/a.png"}]})j", {}},
    {"an unknown clip timing", R"j({"motion":{"clipTiming":"loose","intensity":1,"zoom":0,"durationSeconds":4,"fps":30,"loop":true}})j", {}},
    {"a boolean written as a number", R"j({"motion":{"intensity":1,"zoom":0,"durationSeconds":4,"fps":30,"loop":1}})j", {}},
};

} // namespace

TEST(ProjectReader, FollowsTheTolerantAndStrictRules)
{
    for (const ReaderCase &c : readerCases) {
        SCOPED_TRACE(c.name);
        try {
            const Project project = readProjectDocument(c.document);
            if (c.check)
                c.check(project);
            else
                ADD_FAILURE() << "read";
        } catch (const DocumentError &error) {
            EXPECT_FALSE(c.check) << error.what();
            EXPECT_TRUE(error.description().contains(QLatin1String(c.where))) << error.what();
        }
    }
}
