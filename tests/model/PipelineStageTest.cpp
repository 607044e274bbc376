#include "model/PipelineStage.h"
#include "support/Fixtures.h"

#include <gtest/gtest.h>

#include <functional>

using namespace quillvane;

namespace {

Project sampleLike()
{
    Project p;
    p.title = QStringLiteral("Neon Overpass");
    p.rawLyrics = QStringLiteral("City lights");
    p.style.continuityNotes = QStringLiteral("Warm dusk");
    return p;
}

// A sample-like project changed by `change`.
std::function<Project()> sampleWith(std::function<void(Project &)> change)
{
    return [change] {
        Project p = sampleLike();
        change(p);
        return p;
    };
}

struct StatusCase {
    const char *name;
    std::function<Project()> make;
    // Every stage's status in stage order: t(odo), i(n progress), c(omplete).
    const char *expected;
};

const StatusCase statusCases[] = {
    {"sample project", sampleLike, "cttttcitt"},
    {"empty project", [] { return Project{}; }, "tttttiitt"},
    {"lyrics without a title", sampleWith([](Project &p) { p.title.clear(); }), "tttttcitt"},
    {"transcript and a character without images", sampleWith([](Project &p) {
         p.transcript = {TranscriptSegment{}};
         p.characters = {CharacterReference{}};
     }),
     "ccittcitt"},
    {"a reference image on the second character", sampleWith([](Project &p) {
         CharacterReference withImage;
         withImage.referenceImagePaths = {QStringLiteral("/a.png")};
         p.characters = {CharacterReference{}, withImage};
     }),
     "ctcttcitt"},
    {"chunks without frames", sampleWith([](Project &p) { p.chunks = {StoryboardChunk{}, StoryboardChunk{}}; }),
     "cttitcitt"},
    {"one accepted and one unaccepted frame",
     sampleWith([](Project &p) { p.chunks = {test::chunkWithFrame(true), test::chunkWithFrame(false)}; }), "cttcicitt"},
    {"one framed chunk beside one without a frame",
     sampleWith([](Project &p) { p.chunks = {test::chunkWithFrame(true), StoryboardChunk{}}; }), "cttiicitt"},
    {"every chunk accepted",
     sampleWith([](Project &p) { p.chunks = {test::chunkWithFrame(true), test::chunkWithFrame(true)}; }), "cttcccici"},
};

} // namespace

TEST(StageStatus, DerivesEveryStageFromTheProject)
{
    for (const StatusCase &c : statusCases) {
        const Project project = c.make();
        QString got;
        for (const PipelineStage stage : allPipelineStages()) {
            const StageStatus status = stageStatus(project, stage);
            got += status == StageStatus::todo ? QLatin1Char('t') : status == StageStatus::inProgress ? QLatin1Char('i') : QLatin1Char('c');
        }
        EXPECT_EQ(got, QString::fromLatin1(c.expected)) << c.name;
    }
}
