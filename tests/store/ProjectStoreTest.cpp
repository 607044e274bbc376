#include "model/PipelineConfig.h"
#include "model/ProjectJson.h"
#include "store/ProjectStore.h"
#include "store/SampleProject.h"
#include "support/Fixtures.h"

#include <gtest/gtest.h>

#include <cmath>
#include <tuple>

using namespace quillvane;
using namespace std::chrono_literals;

namespace {

QString key(const char *name) { return QString::fromUtf8(name); }

void expectSample(const Project &project)
{
    EXPECT_EQ(project.title, sampleProject().title);
    EXPECT_TRUE(project.audioPath.isEmpty() && project.transcript.isEmpty() && project.chunks.isEmpty());
}

} // namespace

TEST(ProjectStoreStartUp, TakesTheGivenProjectThenTheLastSavedThenTheSample)
{
    test::TempLibrary temp;
    const Project saved = test::fullyPopulatedProject();
    temp.library().save(saved);
    Project given;
    given.title = QStringLiteral("given");

    EXPECT_EQ(ProjectStore(temp.library(), given).project(), given);
    EXPECT_EQ(ProjectStore(temp.library()).project(), saved);

    test::TempLibrary empty;
    const ProjectStore fresh(empty.library());
    expectSample(fresh.project());
    EXPECT_EQ(fresh.session().selectedStage(), PipelineStage::intake);
    EXPECT_FALSE(fresh.session().selectedChunkID() || fresh.session().runningTask() || fresh.session().taskProgress() || fresh.session().lastError());
}

TEST(ProjectStoreStartUp, AnUnreadableSavedProjectShowsTheSampleAndStaysByteForByte)
{
    const QByteArray badDocuments[] = {
        "", "{\"title\": \"Neon", "not json at all", R"({"title": 7})", R"({"chunks": [{"frame": {}}]})",
    };
    for (const QByteArray &bad : badDocuments) {
        test::TempLibrary temp;
        const ProjectLibrary library = temp.library();
        const QUuid id = QUuid::createUuid();
        test::writeFile(library.mediaFor(id).projectFile(), bad);
        library.preferences().setString(key(preferenceKeys::lastProjectID), uuidText(id));

        ProjectStore store(library, std::nullopt, {}, StoreOptions{50ms});
        expectSample(store.project());
        ASSERT_TRUE(test::processEventsUntil([&] { return !store.document().hasPendingSave(); }, 2s));
        EXPECT_EQ(test::readFile(library.mediaFor(id).projectFile()), bad);
        EXPECT_EQ(library.loadLastProject(), store.project()) << "the sample became the last project";
    }
}

TEST(ProjectStoreStartUp, ReadsTheThreeSettingsAndWritesBackANormalisedProxy)
{
    const QString builtIn = QString::fromUtf8(deployment::defaultProxyURL);
    const QString mine = QStringLiteral("https://mine.example/p");
    // The stored proxy, the one in use, and the preference after start-up: a missing one is
    // not written, a normal one is kept, an http one falls back and is written back.
    const std::tuple<std::optional<QString>, QString, std::optional<QString>> cases[] = {
        {std::nullopt, builtIn, std::nullopt}, {mine, mine, mine}, {QStringLiteral("http://mine.example/p"), builtIn, builtIn}};
    for (const auto &[stored, used, afterwards] : cases) {
        test::TempLibrary temp;
        const Preferences prefs = temp.library().preferences();
        if (stored)
            prefs.setString(key(preferenceKeys::proxyBaseURL), *stored);
        const ProjectStore store(temp.library());
        EXPECT_EQ(store.settings().proxyBaseURL(), used) << stored.value_or(QStringLiteral("none")).toStdString();
        EXPECT_EQ(prefs.string(key(preferenceKeys::proxyBaseURL)), afterwards);
    }

    test::TempLibrary temp;
    const Preferences prefs = temp.library().preferences();
    PipelineServices services;
    services.config.generationModel = QStringLiteral("configured/model");
    const ProjectStore defaults(temp.library(), std::nullopt, services);
    EXPECT_EQ(defaults.settings().generationModel(), QStringLiteral("configured/model"));
    EXPECT_EQ(defaults.settings().editWorkflow(), PipelineConfig{}.editWorkflow);

    prefs.setString(key(preferenceKeys::generationModel), QStringLiteral("stored/model"));
    prefs.setString(key(preferenceKeys::editWorkflow), QStringLiteral(" "));
    const ProjectStore stored(temp.library(), std::nullopt, services);
    EXPECT_EQ(stored.settings().generationModel(), QStringLiteral("stored/model"));
    EXPECT_EQ(stored.settings().editWorkflow(), QStringLiteral(" "));
}

TEST(ProjectStoreSession, EngineCallbacksAreAppliedOnTheUIThreadClampedAndOutliveTheStore)
{
    test::TempLibrary temp;
    auto store = std::make_unique<ProjectStore>(temp.library());
    const auto progress = store->report().progress;
    const auto status = store->report().status;

    std::thread engine([&] {
        progress(0.4);
        status(QStringLiteral("Transcribing with Local Whisper"));
    });
    engine.join();
    EXPECT_FALSE(store->session().taskProgress()) << "nothing is written off the UI thread";
    ASSERT_TRUE(test::processEventsUntil([&] { return store->session().runningTask().has_value(); }, 1s));
    EXPECT_EQ(store->session().taskProgress(), 0.4);
    EXPECT_EQ(store->session().runningTask(), QStringLiteral("Transcribing with Local Whisper"));
    // Said on the UI thread, a line shows at once: a note said as a run ends never outlives it.
    status(QStringLiteral("Verifying lyrics"));
    EXPECT_EQ(store->session().runningTask(), QStringLiteral("Verifying lyrics"));
    // Progress is clamped and a non-number means unknown.
    const std::pair<double, std::optional<double>> cases[] = {
        {-0.5, 0.0}, {0.25, 0.25}, {1.7, 1.0}, {std::nan(""), std::nullopt}, {INFINITY, 1.0},
    };
    for (const auto &[given, expected] : cases) {
        progress(given);
        EXPECT_EQ(store->session().taskProgress(), expected) << given;
    }
    // Another stage clears the banner, the same one keeps it.
    store->session().setLastError(QStringLiteral("Something failed."));
    store->session().setSelectedStage(PipelineStage::intake);
    EXPECT_EQ(store->session().lastError(), QStringLiteral("Something failed."));
    store->session().setSelectedStage(PipelineStage::timing);
    EXPECT_FALSE(store->session().lastError());

    store.reset();
    progress(0.9); // the store is gone: the value is dropped
    test::processEventsFor(20ms);
}

// Removing takes away only what was named and unlinks the chunks that named a removed
// character; a blank name, or a character or image that is not there, changes nothing.
TEST(ProjectStoreCharacters, RemovalsTakeAwayOnlyWhatWasNamed)
{
    test::TempLibrary temp;
    ProjectStore store(temp.library());
    const QUuid mara = *addCharacter(store.document(), QStringLiteral("Mara"));
    const QUuid other = *addCharacter(store.document(), QStringLiteral("Other"));
    appendReferenceImages(store.document(), mara, {QStringLiteral("/a.png"), QStringLiteral("/b.png"), QStringLiteral("/a.png")});
    store.editProject([&](Project &project) {
        project.chunks = {StoryboardChunk{}, StoryboardChunk{}};
        project.chunks[0].characterID = mara;
        project.chunks[1].characterID = other;
    });

    const Project before = store.project();
    EXPECT_FALSE(addCharacter(store.document(), QStringLiteral(" \t\n")).has_value()) << "a blank name adds nobody";
    appendReferenceImages(store.document(), QUuid::createUuid(), {QStringLiteral("/lost.png")});
    EXPECT_FALSE(removeReferenceImage(store.document(), mara, QStringLiteral("/never.png")));
    EXPECT_FALSE(removeReferenceImage(store.document(), QUuid::createUuid(), QStringLiteral("/a.png")));
    EXPECT_FALSE(removeCharacter(store.document(), QUuid::createUuid()));
    EXPECT_EQ(store.project(), before);

    EXPECT_TRUE(removeReferenceImage(store.document(), mara, QStringLiteral("/a.png")));
    EXPECT_EQ(store.project().characters.at(0).referenceImagePaths,
              (QStringList{QStringLiteral("/b.png"), QStringLiteral("/a.png")}));

    EXPECT_TRUE(removeCharacter(store.document(), mara));
    ASSERT_EQ(store.project().characters.size(), 1);
    EXPECT_EQ(store.project().characters.at(0).id, other);
    EXPECT_FALSE(store.project().chunks.at(0).characterID.has_value());
    EXPECT_EQ(store.project().chunks.at(1).characterID, other);
}

// A frame painted for one shape would be cropped by another: a change of shape moves every
// frame onto its chunk's undo stack, as a regenerate does, in one undo step, touching nothing
// else; the same shape, or a chunk without a frame, moves nothing.
TEST(ProjectStoreShape, AChangeSendsEveryFrameBackIntoItsHistoryInOneUndoStep)
{
    test::TempLibrary temp;
    ProjectStore store(temp.library(), test::fullyPopulatedProject());
    const Project before = store.project();
    ASSERT_EQ(before.framedCount(), 1);
    EXPECT_EQ(setVideoShape(store.document(), VideoShape::landscape), 0);
    EXPECT_EQ(store.project(), before);

    EXPECT_EQ(setVideoShape(store.document(), VideoShape::portrait), 1);
    const Project after = store.project();
    const StoryboardChunk &moved = after.chunks[0];
    EXPECT_EQ(after.exportSettings.shape, VideoShape::portrait);
    EXPECT_EQ(after.framedCount(), 0);
    EXPECT_EQ(moved.undoStack, before.chunks[0].undoStack + QList{*before.chunks[0].frame});
    EXPECT_TRUE(moved.redoStack.isEmpty());
    Project restored = after;
    restored.exportSettings.shape = before.exportSettings.shape;
    restored.chunks[0] = before.chunks[0];
    EXPECT_EQ(restored, before) << "nothing else changes";

    EXPECT_TRUE(store.undo());
    EXPECT_EQ(store.project(), before);
    EXPECT_FALSE(store.document().canUndo());
}
