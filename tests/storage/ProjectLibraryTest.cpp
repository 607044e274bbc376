#include "model/PipelineConfig.h"
#include "model/ProjectJson.h"
#include "storage/ProjectLibrary.h"
#include "support/Fixtures.h"

#include <QDir>
#include <QFileInfo>

#include <gtest/gtest.h>


using namespace quillvane;

namespace {

const QString lastProjectKey = QString::fromUtf8(preferenceKeys::lastProjectID);

} // namespace

TEST(ProjectLibrary, SaveWritesTheDocumentAndTheFourFoldersThenNamesTheProjectAndReplacesItWhole)
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
    // A preference written in lower case still finds the project.
    library.preferences().setString(lastProjectKey, uuidText(project.id).toLower());
    EXPECT_EQ(library.loadLastProject(), project);

    // A shorter document replaces the longer one whole, nothing of the old one after it.
    Project smaller;
    smaller.id = project.id;
    library.save(smaller);
    EXPECT_EQ(test::readFile(media.projectFile()), writeProjectDocument(smaller));
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
        {"folder without project.json", uuidText(id), std::nullopt},
        {"empty file", uuidText(id), QByteArray()},
        {"not JSON", uuidText(id), QByteArray("\x89PNG\r\n\x1a\n binary")},
        {"truncated", uuidText(id), writeProjectDocument(test::fullyPopulatedProject()).left(300)},
        {"wrongly typed", uuidText(id), QByteArray(R"({"title": ["not", "a", "string"]})")},
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
