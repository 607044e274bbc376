#include "model/PipelineConfig.h"
#include "model/ProjectJson.h"
#include "storage/ProjectLibrary.h"
#include "support/Fixtures.h"

#include <QDir>
#include <QFileInfo>

#include <gtest/gtest.h>

#include <unistd.h>

using namespace quillvane;

namespace {

const QString lastProjectKey = QString::fromUtf8(preferenceKeys::lastProjectID);

} // namespace

TEST(MediaLibrary, NamesEveryFileInOnePlace)
{
    const QUuid projectId = QUuid::fromString(QStringLiteral("0f8fad5b-d9cb-469f-a165-70867728950e"));
    const QUuid chunkId = QUuid::fromString(QStringLiteral("11111111-2222-3333-4444-555555555555"));
    const QUuid frameId = QUuid::fromString(QStringLiteral("aaaaaaaa-bbbb-cccc-dddd-eeeeeeeeeeee"));
    const MediaLibrary media = MediaLibrary::make(projectId, QStringLiteral("/lib/projects"));
    const QString root = QStringLiteral("/lib/projects/0F8FAD5B-D9CB-469F-A165-70867728950E");

    Project titled;
    titled.title = QStringLiteral("Live / Remix 2");
    Project untitledMov;
    untitledMov.exportSettings.container = ExportContainer::mov;
    Project withDestination = titled;
    withDestination.exportSettings.destinationFolder = QStringLiteral("/home/me/Videos");

    const std::pair<QString, QString> cases[] = {
        {media.root, root},
        {media.projectFile(), root + QStringLiteral("/project.json")},
        {media.framePath(chunkId, frameId),
         root + QStringLiteral("/frames/11111111-2222-3333-4444-555555555555_AAAAAAAA-BBBB-CCCC-DDDD-EEEEEEEEEEEE.png")},
        {media.elementImagePath(QStringLiteral("hero car/red")), root + QStringLiteral("/elements/hero_car-red.png")},
        {media.clipPath(chunkId), root + QStringLiteral("/clips/11111111-2222-3333-4444-555555555555.mov")},
        {media.exportPath(titled), root + QStringLiteral("/exports/Live_-_Remix_2.mp4")},
        {media.exportPath(untitledMov), root + QStringLiteral("/exports/lyric-video.mov")},
        {media.exportPath(withDestination), QStringLiteral("/home/me/Videos/Live_-_Remix_2.mp4")},
    };
    for (const auto &[actual, expected] : cases)
        EXPECT_EQ(actual, expected);
}

TEST(ProjectLibrary, SaveWritesTheDocumentAndTheFourFoldersThenNamesTheProject)
{
    test::TempLibrary temp;
    const ProjectLibrary library = temp.library();
    const Project project = test::fullyPopulatedProject();
    library.save(project);

    const MediaLibrary media = library.mediaFor(project.id);
    for (const QString &folder : {media.framesFolder(), media.elementsFolder(), media.clipsFolder(), media.exportsFolder()})
        EXPECT_TRUE(QFileInfo(folder).isDir()) << folder.toStdString();
    EXPECT_EQ(test::readFile(media.projectFile()), writeProjectDocument(project));
    EXPECT_EQ(library.preferences().string(lastProjectKey), uuidText(project.id));
    EXPECT_EQ(library.loadLastProject(), project);
    // Only project.json and the media folders: the temporary file of the replace is gone.
    EXPECT_EQ(QDir(media.root).entryList(QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden).size(), 5);
}

TEST(ProjectLibrary, SavingTwoProjectsKeepsBothAndNamesTheSecond)
{
    test::TempLibrary temp;
    const ProjectLibrary library = temp.library();
    Project first, second;
    first.title = QStringLiteral("first");
    second.title = QStringLiteral("second");
    library.save(first);
    library.save(second);

    EXPECT_TRUE(QFileInfo::exists(library.mediaFor(first.id).projectFile()));
    EXPECT_TRUE(QFileInfo::exists(library.mediaFor(second.id).projectFile()));
    EXPECT_EQ(library.loadLastProject()->title, QStringLiteral("second"));
}

TEST(ProjectLibrary, EveryLoadFailureGivesNothingAndLeavesTheFileAsItWas)
{
    const QUuid id = QUuid::createUuid();
    const struct {
        const char *name;
        std::optional<QString> preference; // nothing: no preference at all
        std::optional<QByteArray> document; // nothing: no project.json
    } cases[] = {
        {"first start: no preference", std::nullopt, QByteArray("{}")},
        {"preference is not a UUID", QStringLiteral("not-a-uuid"), QByteArray("{}")},
        {"preference is empty", QString(), QByteArray("{}")},
        {"folder without project.json", uuidText(id), std::nullopt},
        {"empty file", uuidText(id), QByteArray()},
        {"not JSON", uuidText(id), QByteArray("\x89PNG\r\n\x1a\n binary")},
        {"truncated", uuidText(id), writeProjectDocument(test::fullyPopulatedProject()).left(300)},
        {"wrongly typed", uuidText(id), QByteArray(R"({"title": ["not", "a", "string"]})")},
        {"a JSON array", uuidText(id), QByteArray("[1, 2, 3]")},
    };
    for (const auto &c : cases) {
        test::TempLibrary temp;
        const ProjectLibrary library = temp.library();
        const QString file = library.mediaFor(id).projectFile();
        if (c.preference)
            library.preferences().setString(lastProjectKey, *c.preference);
        if (c.document)
            test::writeFile(file, *c.document);
        else
            QDir().mkpath(library.mediaFor(id).root);

        EXPECT_FALSE(library.loadLastProject().has_value()) << c.name;
        if (c.document)
            EXPECT_EQ(test::readFile(file), *c.document) << c.name;
        else
            EXPECT_FALSE(QFileInfo::exists(file)) << c.name;
    }
}

TEST(ProjectLibrary, ALowerCasePreferenceStillFindsTheProject)
{
    test::TempLibrary temp;
    const ProjectLibrary library = temp.library();
    const Project project = test::fullyPopulatedProject();
    library.save(project);
    library.preferences().setString(lastProjectKey, uuidText(project.id).toLower());
    EXPECT_EQ(library.loadLastProject(), project);
}

TEST(ProjectLibrary, AFailedWriteLeavesThePreviousDocumentAndPreferenceWhole)
{
    test::TempLibrary temp;
    const ProjectLibrary library = temp.library();
    Project saved;
    saved.title = QStringLiteral("saved");
    library.save(saved);
    const QString file = library.mediaFor(saved.id).projectFile();
    const QByteArray before = test::readFile(file);

    Project bigger = test::fullyPopulatedProject();
    bigger.id = saved.id;
    for (int i = 0; i < 50; ++i)
        bigger.chunks.append(test::chunkWithFrame(true));
    {
        const test::FileSizeLimit diskFull(rlim_t(before.size()) + 64);
        EXPECT_THROW(library.save(bigger), SaveError);
    }
    EXPECT_EQ(test::readFile(file), before);
    EXPECT_EQ(library.loadLastProject(), saved);
    EXPECT_EQ(QDir(library.mediaFor(saved.id).root).entryList(QDir::Files | QDir::Hidden).size(), 1)
        << "no temporary file left behind";

    // Once space is back, the next save goes through.
    library.save(bigger);
    EXPECT_EQ(library.loadLastProject(), bigger);
}

TEST(ProjectLibrary, AFailedSaveOfANewProjectDoesNotNameIt)
{
    test::TempLibrary temp;
    const ProjectLibrary library = temp.library();
    Project first;
    library.save(first);
    // A plain file where the project's folder belongs: nothing can be written there.
    Project blocked;
    test::writeFile(library.mediaFor(blocked.id).root, "in the way");
    EXPECT_THROW(library.save(blocked), SaveError);
    EXPECT_EQ(library.preferences().string(lastProjectKey), uuidText(first.id));
}

TEST(Preferences, StringsSurviveTheFileWhateverTheyHold)
{
    test::TempLibrary temp;
    const Preferences preferences(temp.path(QStringLiteral("config/Quillvane.conf")));
    const QString values[] = {
        QStringLiteral("https://mine.example/api/fal?a=1,b=2&c=;"),
        QStringLiteral("@at sign first"),
        QStringLiteral("  leading and trailing blanks  "),
        QStringLiteral("quotes \" and = and [brackets] and \\ back slash"),
        QStringLiteral("Ünïcødé 🎸"),
        QString(),
    };
    for (const QString &value : values) {
        ASSERT_TRUE(preferences.setString(QStringLiteral("editWorkflow"), value));
        EXPECT_EQ(Preferences(preferences.filePath()).string(QStringLiteral("editWorkflow")), value);
    }
    EXPECT_FALSE(preferences.string(QStringLiteral("generationModel")).has_value());
}
