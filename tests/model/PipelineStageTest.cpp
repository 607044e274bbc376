#include "model/PipelineStage.h"
#include "support/Fixtures.h"

#include <gtest/gtest.h>

#include <functional>

using namespace quillvane;

namespace {

using S = StageStatus;
using P = PipelineStage;

Project sampleLike()
{
    Project p;
    p.title = QStringLiteral("Neon Overpass");
    p.rawLyrics = QStringLiteral("City lights");
    p.style.continuityNotes = QStringLiteral("Warm dusk");
    return p;
}

struct StatusCase {
    friend void PrintTo(const StatusCase &c, std::ostream *os) { *os << c.name; }
    const char *name;
    std::function<Project()> make;
    // Expected status of every stage, in stage order.
    std::array<S, 9> expected;
};

const StatusCase statusCases[] = {
    {"sample project", sampleLike,
     {S::complete, S::todo, S::todo, S::todo, S::todo, S::complete, S::inProgress, S::todo, S::todo}},
    {"empty project",
     [] { return Project{}; },
     {S::todo, S::todo, S::todo, S::todo, S::todo, S::inProgress, S::inProgress, S::todo, S::todo}},
    {"blank title still counts as a title",
     [] {
         Project p = sampleLike();
         p.title = QStringLiteral("   ");
         return p;
     },
     {S::complete, S::todo, S::todo, S::todo, S::todo, S::complete, S::inProgress, S::todo, S::todo}},
    {"lyrics without a title",
     [] {
         Project p = sampleLike();
         p.title.clear();
         return p;
     },
     {S::todo, S::todo, S::todo, S::todo, S::todo, S::complete, S::inProgress, S::todo, S::todo}},
    {"transcript and a character without images",
     [] {
         Project p = sampleLike();
         p.transcript = {TranscriptSegment{}};
         p.characters = {CharacterReference{}};
         return p;
     },
     {S::complete, S::complete, S::inProgress, S::todo, S::todo, S::complete, S::inProgress, S::todo, S::todo}},
    {"a reference image on the second character",
     [] {
         Project p = sampleLike();
         CharacterReference withImage;
         withImage.referenceImagePaths = {QStringLiteral("/a.png")};
         p.characters = {CharacterReference{}, withImage};
         return p;
     },
     {S::complete, S::todo, S::complete, S::todo, S::todo, S::complete, S::inProgress, S::todo, S::todo}},
    {"chunks without frames",
     [] {
         Project p = sampleLike();
         p.chunks = {StoryboardChunk{}, StoryboardChunk{}};
         return p;
     },
     {S::complete, S::todo, S::todo, S::inProgress, S::todo, S::complete, S::inProgress, S::todo, S::todo}},
    {"one accepted and one unaccepted frame",
     [] {
         Project p = sampleLike();
         p.chunks = {test::chunkWithFrame(true), test::chunkWithFrame(false)};
         return p;
     },
     {S::complete, S::todo, S::todo, S::complete, S::inProgress, S::complete, S::inProgress, S::todo, S::todo}},
    {"every chunk framed, none accepted",
     [] {
         Project p = sampleLike();
         p.chunks = {test::chunkWithFrame(false), test::chunkWithFrame(false)};
         return p;
     },
     {S::complete, S::todo, S::todo, S::complete, S::inProgress, S::complete, S::inProgress, S::todo, S::todo}},
    {"one framed chunk beside one without a frame",
     [] {
         Project p = sampleLike();
         p.chunks = {test::chunkWithFrame(true), StoryboardChunk{}};
         return p;
     },
     {S::complete, S::todo, S::todo, S::inProgress, S::inProgress, S::complete, S::inProgress, S::todo, S::todo}},
    {"four checks out of five is not accepted",
     [] {
         Project p = sampleLike();
         StoryboardChunk chunk = test::chunkWithFrame(true);
         chunk.frame->review.styleContinuous = false;
         p.chunks = {chunk};
         return p;
     },
     {S::complete, S::todo, S::todo, S::complete, S::inProgress, S::complete, S::inProgress, S::todo, S::todo}},
    {"every chunk accepted",
     [] {
         Project p = sampleLike();
         p.chunks = {test::chunkWithFrame(true), test::chunkWithFrame(true)};
         return p;
     },
     {S::complete, S::todo, S::todo, S::complete, S::complete, S::complete, S::inProgress, S::complete,
      S::inProgress}},
};

class StageStatusTable : public testing::TestWithParam<StatusCase> {};

} // namespace

TEST_P(StageStatusTable, DerivesEveryStageFromTheProject)
{
    const StatusCase &c = GetParam();
    const Project project = c.make();
    const QList<PipelineStage> stages = allPipelineStages();
    for (int i = 0; i < 9; ++i) {
        EXPECT_EQ(caseName(stageStatus(project, stages.at(i))), caseName(c.expected.at(size_t(i))))
            << c.name << ": stage " << caseName(stages.at(i)).toStdString();
    }
}

INSTANTIATE_TEST_SUITE_P(Projects, StageStatusTable, testing::ValuesIn(statusCases),
                         [](const auto &info) { return test::testName(info.param.name); });

