#include "model/PipelineStage.h"
#include "support/Fixtures.h"

#include <gtest/gtest.h>

#include <functional>

using namespace quillvane;

TEST(StageStatus, DerivesEveryStageFromTheProject)
{
    using test::chunkWithFrame;
    // Each row changes a project with a title, lyrics and continuity notes; every stage's
    // status in stage order: t(odo), i(n progress), c(omplete).
    const struct {
        const char *name;
        std::function<void(Project &)> change;
        const char *expected;
    } rows[] = {
        {"sample project", [](Project &) {}, "cttttcitt"},
        {"empty project", [](Project &p) { p = Project{}; }, "tttttiitt"},
        {"lyrics without a title", [](Project &p) { p.title.clear(); }, "tttttcitt"},
        {"transcript and a character without images",
         [](Project &p) { p.transcript = {TranscriptSegment{}}; p.characters = {CharacterReference{}}; }, "ccittcitt"},
        {"a reference image on the second character",
         [](Project &p) {
             p.characters = {CharacterReference{}, CharacterReference{}};
             p.characters[1].referenceImagePaths = {QStringLiteral("/a.png")};
         },
         "ctcttcitt"},
        {"chunks without frames", [](Project &p) { p.chunks = {StoryboardChunk{}, StoryboardChunk{}}; }, "cttitcitt"},
        {"one accepted and one unaccepted frame", [](Project &p) { p.chunks = {chunkWithFrame(true), chunkWithFrame(false)}; },
         "cttcicitt"},
        {"one framed chunk beside one without a frame",
         [](Project &p) { p.chunks = {chunkWithFrame(true), StoryboardChunk{}}; }, "cttiicitt"},
        {"every chunk accepted", [](Project &p) { p.chunks = {chunkWithFrame(true), chunkWithFrame(true)}; }, "cttcccici"},
    };
    for (const auto &row : rows) {
        Project project;
        project.title = QStringLiteral("Neon Overpass");
        project.rawLyrics = QStringLiteral("City lights");
        project.style.continuityNotes = QStringLiteral("Warm dusk");
        row.change(project);
        QString got;
        for (const PipelineStage stage : allPipelineStages()) {
            const StageStatus status = stageStatus(project, stage, LyricsOnScreen::painted);
            got += status == StageStatus::todo ? QLatin1Char('t') : status == StageStatus::inProgress ? QLatin1Char('i') : QLatin1Char('c');
        }
        EXPECT_EQ(got, QString::fromLatin1(row.expected)) << row.name;
    }
}
