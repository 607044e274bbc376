// The automatic save, observed on disk: when project.json is written and what it holds.

#include "model/PipelineConfig.h"
#include "model/ProjectJson.h"
#include "store/ProjectStore.h"
#include "support/Fixtures.h"

#include <QElapsedTimer>
#include <QFileInfo>

#include <gtest/gtest.h>

#include <set>

using namespace quillvane;
using namespace std::chrono_literals;

TEST(Autosave, TheFirstSaveAndABurstOfChangesAreEachWrittenOnceAfterASecondOfQuiet)
{
    test::TempLibrary temp;
    const ProjectLibrary library = temp.library();
    ProjectStore store(library);
    const QString file = library.mediaFor(store.project().id).projectFile();

    test::processEventsFor(700ms);
    EXPECT_FALSE(QFileInfo::exists(file)) << "saved before the quiet second was over";
    ASSERT_TRUE(test::processEventsUntil([&] { return QFileInfo::exists(file); }, 1500ms));
    EXPECT_EQ(readProjectDocument(test::readFile(file)), store.project());
    EXPECT_EQ(library.preferences().string(QString::fromUtf8(preferenceKeys::lastProjectID)),
              uuidText(store.project().id));
    const QString beforeBurst = test::fileIdentity(file);

    std::set<QString> versionsSeen{beforeBurst};
    for (int i = 1; i <= 10; ++i) {
        store.editProject([i](Project &p) { p.title = QStringLiteral("Take %1").arg(i); });
        test::processEventsFor(45ms);
        versionsSeen.insert(test::fileIdentity(file));
    }
    EXPECT_EQ(versionsSeen.size(), 1u) << "the file was written during the burst";

    QElapsedTimer quiet;
    quiet.start();
    ASSERT_TRUE(test::processEventsUntil([&] { return test::fileIdentity(file) != beforeBurst; }, 2s));
    EXPECT_GE(quiet.elapsed(), 800) << "written before a second of quiet";
    const QString afterBurst = test::fileIdentity(file);
    test::processEventsFor(1200ms);
    EXPECT_EQ(test::fileIdentity(file), afterBurst) << "written more than once";
    EXPECT_EQ(readProjectDocument(test::readFile(file)).title, QStringLiteral("Take 10"));
}

TEST(Autosave, AFailedSaveKeepsTheOldDocumentAndTheNextChangeTriesAgain)
{
    test::TempLibrary temp;
    const ProjectLibrary library = temp.library();
    ProjectStore store(library, std::nullopt, {}, StoreOptions{50ms});
    const QString file = library.mediaFor(store.project().id).projectFile();
    ASSERT_TRUE(test::processEventsUntil([&] { return !store.document().hasPendingSave(); }, 2s));
    const QByteArray before = test::readFile(file);
    store.setProject(store.project());
    store.editProject([](Project &) {});
    EXPECT_FALSE(store.document().hasPendingSave()) << "an unchanged value is not a change";

    {
        const test::FileSizeLimit diskFull(rlim_t(before.size()) / 2);
        store.editProject([](Project &p) { p.conceptPrompt = QStringLiteral("lost while the disk is full"); });
        ASSERT_TRUE(test::processEventsUntil([&] { return !store.document().hasPendingSave(); }, 2s));
        EXPECT_EQ(test::readFile(file), before);
        EXPECT_THROW(
            {
                store.editProject([](Project &p) { p.conceptPrompt = QStringLiteral("flushed on a full disk"); });
                store.document().flushPendingSave();
            },
            SaveError);
        EXPECT_TRUE(store.document().hasPendingSave()) << "a failed flush stays pending";
        EXPECT_EQ(test::readFile(file), before);
    }

    store.editProject([](Project &p) { p.conceptPrompt = QStringLiteral("space again"); });
    ASSERT_TRUE(test::processEventsUntil([&] { return !store.document().hasPendingSave(); }, 2s));
    EXPECT_EQ(readProjectDocument(test::readFile(file)), store.project());
}
