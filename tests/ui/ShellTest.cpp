#include "UiHarness.h"
#include "model/PipelineStage.h"
#include "ui/Symbols.h"

#include <QFile>

#include <gtest/gtest.h>

namespace quillvane {
namespace {

using test::UiHarness;

TEST(Shell, TheBottomStripShowsTheErrorOverTheTaskAndNothingWhenIdle)
{
    UiHarness ui(test::withChunks(4, 2));
    EXPECT_FALSE(ui.shown("bottomStrip"));

    ui.store.session().setRunningTask(QStringLiteral("Rendering motion"));
    ui.store.session().setTaskProgress(0.42);
    ui.settle();
    EXPECT_EQ(ui.text("stripText"), QStringLiteral("Rendering motion"));
    EXPECT_TRUE(ui.shown("cancelButton"));

    const QString error = QStringLiteral("Every frame must pass the readability review before export.");
    ui.store.session().setLastError(error);
    ui.settle();
    EXPECT_EQ(ui.text("stripText"), error);
    EXPECT_FALSE(ui.shown("cancelButton"));
    ui.screenshot("shell-error-banner");
    ui.click("dismissButton");
    EXPECT_FALSE(ui.store.session().lastError());
    EXPECT_EQ(ui.text("stripText"), QStringLiteral("Rendering motion"));
}

TEST(Shell, CtrlZAndCtrlShiftZUndoAndRedoTheProjectAndTheButtonsFollow)
{
    UiHarness ui(test::withChunks(2, 0));
    const Project before = ui.store.project();
    ui.window()->requestActivate();
    const auto undoOpacity = [&] { return ui.find("projectUndoButton")->opacity(); };
    EXPECT_LT(undoOpacity(), 1.0) << "nothing to undo yet";
    ui.bridges.intake.setTitle(QStringLiteral("Another title"));
    ui.settle();
    const Project edited = ui.store.project();
    ASSERT_NE(edited, before);
    EXPECT_EQ(undoOpacity(), 1.0);

    ui.key(Qt::Key_Z, Qt::ControlModifier);
    EXPECT_EQ(ui.store.project(), before);
    EXPECT_EQ(ui.find("projectRedoButton")->opacity(), 1.0);
    ui.key(Qt::Key_Z, Qt::ControlModifier | Qt::ShiftModifier);
    EXPECT_EQ(ui.store.project(), edited);

    // While a task runs the project is the task's: neither key nor button goes back.
    ui.store.session().setRunningTask(QStringLiteral("Rendering motion"));
    ui.key(Qt::Key_Z, Qt::ControlModifier);
    EXPECT_EQ(ui.store.project(), edited);
    EXPECT_LT(undoOpacity(), 1.0);
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
