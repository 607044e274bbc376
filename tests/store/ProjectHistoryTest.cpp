// Undo and redo of the project, observed in the saved document.

#include "store/BlockingWait.h"
#include "store/ProjectStore.h"
#include "support/Fixtures.h"

#include <QCoro/QCoroTimer>

#include <gtest/gtest.h>

using namespace quillvane;
using namespace std::chrono_literals;

namespace {

Project timedProject()
{
    Project project;
    project.title = QStringLiteral("Neon");
    project.rawLyrics = QStringLiteral("a b\nc");
    project.audioDuration = 12;
    project.transcript = {{QUuid::createUuid(), QStringLiteral("a b"), 1, 5, {}}, {QUuid::createUuid(), QStringLiteral("c"), 5, 9, {}}};
    return project;
}

// The document the store writes for its project now.
QByteArray savedDocument(ProjectStore &store)
{
    store.document().flushPendingSave();
    return test::readFile(store.document().media().projectFile());
}

void typeTitle(ProjectStore &store, const QString &title)
{
    for (qsizetype length = 1; length <= title.size(); ++length)
        store.editProject([&](Project &project) { project.title = title.left(length); });
}

} // namespace

TEST(ProjectHistory, EveryKindOfChangeUndoesAndRedoesToTheSameDocumentByteForByte)
{
    test::TempLibrary temp;
    ProjectStore store(temp.library(), timedProject());
    QList<QByteArray> documents{savedDocument(store)};
    // Each step as a user makes it; a typed word, and a long operation's two hand-backs, are one.
    const std::function<void()> steps[] = {
        [&] { typeTitle(store, QStringLiteral("Neon Rain")); },
        [&] { EXPECT_TRUE(editSegment(store.document(), 0, std::nullopt, 1.5, std::nullopt).isDone()); },
        [&] { setLyrics(store.document(), QStringLiteral("a b\nc d")); }, // the timed transcript goes with it
        [&] { addCharacter(store.document(), QStringLiteral("Mia")); },
        [&] {
            blockingWait(store.run(QStringLiteral("Planning"), [&store](CancelToken) -> QCoro::Task<> {
                Project planned = store.project();
                planned.conceptPrompt = QStringLiteral("first half");
                store.setProject(planned);
                co_await QCoro::sleepFor(1ms);
                planned.artist = QStringLiteral("second half");
                store.setProject(planned);
            }));
        },
        [&] { store.editProject([](Project &project) { project.style.paletteName = QStringLiteral("teal"); }); },
    };
    for (const auto &step : steps) {
        step();
        documents << savedDocument(store);
    }
    ASSERT_EQ(QSet<QByteArray>(documents.begin(), documents.end()).size(), documents.size()) << "each step changed the document";

    for (qsizetype i = documents.size() - 2; i >= 0; --i) {
        ASSERT_TRUE(store.undo());
        EXPECT_EQ(savedDocument(store), documents[i]) << "undo to step " << i;
    }
    EXPECT_FALSE(store.document().canUndo());
    EXPECT_FALSE(store.undo());
    for (qsizetype i = 1; i < documents.size(); ++i) {
        ASSERT_TRUE(store.redo());
        EXPECT_EQ(savedDocument(store), documents[i]) << "redo to step " << i;
    }
    EXPECT_FALSE(store.redo());

    // A new edit after an undo is the only way forward.
    ASSERT_TRUE(store.undo());
    typeTitle(store, QStringLiteral("Other"));
    EXPECT_FALSE(store.document().canRedo());
    ASSERT_TRUE(store.undo());
    EXPECT_EQ(savedDocument(store), documents[documents.size() - 2]);
}

TEST(ProjectHistory, StepsMergeOnlyInABurstOnOnePartNeverUndoDuringATaskAndAHundredAreKept)
{
    test::TempLibrary temp;
    StoreOptions apart;
    apart.undoMergeWindow = 0ms;
    ProjectStore store(temp.library(), timedProject(), {}, apart);
    const auto undoAll = [&store] {
        int steps = 0;
        while (store.undo())
            ++steps;
        return steps;
    };
    typeTitle(store, QStringLiteral("abc"));
    EXPECT_EQ(undoAll(), 3) << "letters typed apart are a step each";

    store.editProject([](Project &project) { project.title = QStringLiteral("changed"); });
    store.session().setRunningTask(QStringLiteral("Rendering motion"));
    EXPECT_FALSE(store.undo());
    EXPECT_EQ(store.project().title, QStringLiteral("changed"));
    store.session().setRunningTask(std::nullopt);
    EXPECT_TRUE(store.undo());

    for (int i = 0; i < 150; ++i)
        store.editProject([i](Project &project) { project.title = QString::number(i); });
    EXPECT_EQ(undoAll(), 100);
    EXPECT_EQ(store.project().title, QStringLiteral("49"));

    ProjectStore merging(temp.library(), timedProject());
    typeTitle(merging, QStringLiteral("abc"));
    merging.editProject([](Project &project) { project.artist = QStringLiteral("x"); });
    typeTitle(merging, QStringLiteral("abcd"));
    ASSERT_TRUE(merging.undo());
    EXPECT_EQ(merging.project().title, QStringLiteral("abc")) << "the artist edit ended the title's burst";
    ASSERT_TRUE(merging.undo());
    EXPECT_EQ(merging.project().artist, QString());
    ASSERT_TRUE(merging.undo());
    EXPECT_EQ(merging.project().title, QStringLiteral("Neon"));
    EXPECT_FALSE(merging.document().canUndo());
}
