#include "UiHarness.h"
#include "model/PipelineStage.h"
#include "ui/Symbols.h"

#include <QFile>

#include <QTest>

#include <gtest/gtest.h>

namespace quillvane {
namespace {

using test::UiHarness;

Project withChunks(int total, int accepted)
{
    Project project;
    for (int i = 0; i < total; ++i) {
        StoryboardChunk chunk = test::chunkWithFrame(i < accepted);
        chunk.index = i;
        chunk.chunkNumber = i + 1;
        project.chunks.append(chunk);
    }
    return project;
}

TEST(Shell, TheBottomStripShowsTheErrorOverTheTaskAndNothingWhenIdle)
{
    UiHarness ui(withChunks(4, 2));
    EXPECT_FALSE(ui.shown(QStringLiteral("bottomStrip")));

    ui.store.session().setRunningTask(QStringLiteral("Rendering motion"));
    ui.store.session().setTaskProgress(0.42);
    ui.settle();
    EXPECT_TRUE(ui.shown(QStringLiteral("bottomStrip")));
    EXPECT_EQ(ui.text(QStringLiteral("stripText")), QStringLiteral("Rendering motion"));
    EXPECT_TRUE(ui.shown(QStringLiteral("cancelButton")));

    ui.store.session().setLastError(QStringLiteral("Every frame must pass the readability review before export."));
    ui.settle();
    EXPECT_EQ(ui.text(QStringLiteral("stripText")),
              QStringLiteral("Every frame must pass the readability review before export."));
    EXPECT_TRUE(ui.shown(QStringLiteral("dismissButton")));
    ui.screenshot(QStringLiteral("shell-error-banner"));

    EXPECT_FALSE(ui.shown(QStringLiteral("cancelButton")));
    QMetaObject::invokeMethod(ui.find(QStringLiteral("dismissButton")), "clicked");
    ui.settle();
    EXPECT_FALSE(ui.store.session().lastError());
    EXPECT_EQ(ui.text(QStringLiteral("stripText")), QStringLiteral("Rendering motion"));
}

TEST(Shell, EveryStageOpensItsScreenUnderItsHeader)
{
    UiHarness ui(withChunks(5, 5));
    QStringList titles;
    // Ctrl+1 ... Ctrl+9, as a person presses them.
    ui.window()->requestActivate();
    for (PipelineStage stage : allPipelineStages()) {
        QTest::keyClick(ui.window(), Qt::Key(Qt::Key_1 + int(stage)), Qt::ControlModifier);
        ui.settle();
        EXPECT_EQ(ui.store.session().selectedStage(), stage);
        const QString title = ui.text(QStringLiteral("surfaceTitle"), QStringLiteral("stageScroller"));
        EXPECT_FALSE(title.isEmpty() || titles.contains(title)) << title.toStdString();
        titles << title;
    }
}

TEST(Shell, CtrlZAndCtrlShiftZUndoAndRedoTheProjectAndTheButtonsFollow)
{
    UiHarness ui(withChunks(2, 0));
    const Project before = ui.store.project();
    ui.window()->requestActivate();
    ui.settle();
    EXPECT_LT(ui.find(QStringLiteral("projectUndoButton"))->opacity(), 1.0) << "nothing to undo yet";
    ui.bridges.intake.setTitle(QStringLiteral("Another title"));
    ui.settle();
    const Project edited = ui.store.project();
    ASSERT_NE(edited, before);
    EXPECT_EQ(ui.find(QStringLiteral("projectUndoButton"))->opacity(), 1.0);

    QTest::keyClick(ui.window(), Qt::Key_Z, Qt::ControlModifier);
    ui.settle();
    EXPECT_EQ(ui.store.project(), before);
    EXPECT_EQ(ui.find(QStringLiteral("projectRedoButton"))->opacity(), 1.0);
    QTest::keyClick(ui.window(), Qt::Key_Z, Qt::ControlModifier | Qt::ShiftModifier);
    ui.settle();
    EXPECT_EQ(ui.store.project(), edited);

    // While a task runs the project is the task's: neither key nor button goes back.
    ui.store.session().setRunningTask(QStringLiteral("Rendering motion"));
    ui.settle();
    QTest::keyClick(ui.window(), Qt::Key_Z, Qt::ControlModifier);
    ui.settle();
    EXPECT_EQ(ui.store.project(), edited);
    EXPECT_LT(ui.find(QStringLiteral("projectUndoButton"))->opacity(), 1.0);
}

TEST(Shell, EverySymbolHasItsIconFile)
{
    for (const QString &symbol : ui::knownSymbols())
        EXPECT_TRUE(QFile::exists(ui::iconFileFor(symbol))) << symbol.toStdString();
    for (PipelineStage stage : allPipelineStages())
        EXPECT_FALSE(ui::iconFileFor(symbolName(stage)).isEmpty()) << symbolName(stage).toStdString();
}

} // namespace
} // namespace quillvane
