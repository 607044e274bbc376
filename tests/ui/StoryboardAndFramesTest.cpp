#include "UiHarness.h"

#include <QImage>
#include <QQuickItem>

#include <gtest/gtest.h>

namespace quillvane {
namespace {

using test::UiHarness;

// A stand-in for a generated frame: a field of one colour.
QString paintedFrame(const test::TempLibrary &temp, const QString &name, QColor colour)
{
    QImage image(960, 540, QImage::Format_RGB32);
    image.fill(colour);
    const QString path = temp.path(name);
    image.save(path);
    return path;
}

// Twelve chunks: 0-3 accepted, 4-7 generated with some checks, 8-11 not generated.
Project storyboard(const test::TempLibrary &temp)
{
    Project project;
    project.title = QStringLiteral("Letters in the Snow");
    project.characters.append({QUuid::createUuid(), QStringLiteral("Mia"), QString(), {QStringLiteral("/refs/mia.png")}});
    project.plan = StoryboardPlan{};
    project.plan->motif = QStringLiteral("paper letters drifting like snow");
    const QColor colours[] = {QColor(15, 57, 47), QColor(120, 40, 60), QColor(30, 60, 120), QColor(90, 70, 20)};
    for (int i = 0; i < 12; ++i) {
        StoryboardChunk chunk;
        chunk.index = i;
        chunk.chunkNumber = i + 1;
        chunk.renderedText = QStringLiteral("Line %1 of the song").arg(i + 1);
        chunk.imagePrompt = QStringLiteral("A chalk sign on a brick wall at night, frame %1").arg(i + 1);
        chunk.primaryCharacterInFrame = i % 3 == 0;
        if (i < 8) {
            GeneratedFrame frame;
            frame.localPath = paintedFrame(temp, QStringLiteral("f%1.png").arg(i), colours[i % 4]);
            frame.review = {true, true, i < 4 || i == 6, i < 4, i < 4};
            chunk.frame = frame;
        }
        if (i == 5) {
            chunk.undoStack.append(*chunk.frame);
            chunk.undoStack.append(*chunk.frame);
            chunk.frame->editRequest = QStringLiteral("make the sky sunset orange");
            chunk.redoStack.append(*chunk.frame);
        }
        project.chunks.append(chunk);
    }
    return project;
}

QStringList texts(UiHarness &ui, const QString &chipName)
{
    QStringList found;
    for (QQuickItem *chip : ui.findAll(chipName))
        found.append(chip->property("text").toString());
    return found;
}

TEST(StoryboardScreen, TypingIntoACardChangesTheChunk)
{
    test::TempLibrary images;
    UiHarness ui(storyboard(images));
    ui.store.session().setSelectedStage(PipelineStage::storyboard);
    ui.settle();
    QQuickItem *field = ui.findAll(QStringLiteral("renderedTextField")).value(2);
    ASSERT_TRUE(field);
    field->setProperty("text", QStringLiteral("Line 3, spelled right"));
    QMetaObject::invokeMethod(field, "textEdited");
    ui.settle();
    EXPECT_EQ(ui.store.project().chunks[2].renderedText, QStringLiteral("Line 3, spelled right"));
}

TEST(FrameReview, TheGridShowsEachFramesStateAndTheLastCheckAcceptsIt)
{
    test::TempLibrary images;
    UiHarness ui(storyboard(images));
    ui.store.session().setSelectedStage(PipelineStage::frames);
    ui.settle();
    EXPECT_FALSE(ui.shown(QStringLiteral("toMotionButton")));
    const QList<QQuickItem *> undo = ui.findAll(QStringLiteral("undoButton"));
    const QList<QQuickItem *> redo = ui.findAll(QStringLiteral("redoButton"));
    EXPECT_FALSE(undo[0]->isEnabled());
    EXPECT_TRUE(undo[5]->isEnabled());
    EXPECT_TRUE(redo[5]->isEnabled());
    ui.window()->resize(1200, 2300);
    ui.screenshot(QStringLiteral("frames-review-grid"));

    // One action ticks the five checks of a pending frame; an accepted frame has nothing to tick.
    const QList<QQuickItem *> allPass = ui.findAll(QStringLiteral("allChecksButton"));
    EXPECT_FALSE(allPass[0]->isEnabled());
    ASSERT_TRUE(allPass[4]->isEnabled());
    QMetaObject::invokeMethod(allPass[4], "clicked");
    ui.settle();
    EXPECT_TRUE(ui.store.project().chunks[4].isAccepted());
    EXPECT_EQ(texts(ui, QStringLiteral("reviewChip"))[4], QStringLiteral("Accepted"));

    // Accept every frame: the chips turn and the way to motion appears.
    ui.store.editProject([](Project &p) {
        p.chunks.erase(p.chunks.begin() + 4, p.chunks.end());
    });
    ui.settle();
    EXPECT_TRUE(ui.shown(QStringLiteral("toMotionButton")));
}

TEST(FrameReview, TheSheetsShowTheVersionAndSendOnlyARealRequest)
{
    test::TempLibrary images;
    UiHarness ui(storyboard(images));
    ui.store.session().setSelectedStage(PipelineStage::frames);
    ui.settle();
    // The sheet is a popup, an object beside the items rather than one of them.
    QObject *sheet = nullptr;
    for (QQuickItem *item : ui.findAll(QStringLiteral("frameScreen")))
        sheet = item->findChild<QObject *>(QStringLiteral("frameSheet"));
    ASSERT_TRUE(sheet);
    const QString chunkID = uuidText(ui.store.project().chunks[5].id);
    QMetaObject::invokeMethod(sheet, "show", Q_ARG(QString, chunkID), Q_ARG(bool, false));
    ui.settle();
    EXPECT_EQ(ui.text(QStringLiteral("lastEditLine")), QStringLiteral("Last edit: “make the sky sunset orange”"));

    sheet->setProperty("editing", true);
    ui.settle();
    EXPECT_EQ(ui.text(QStringLiteral("versionLine")), QStringLiteral("Version 3 · 1 redo"));
    sheet->setProperty("request", QStringLiteral("   "));
    ui.settle();
    EXPECT_FALSE(ui.find(QStringLiteral("sendButton"))->isEnabled());
    sheet->setProperty("request", QStringLiteral("  warmer light  "));
    ui.settle();
    EXPECT_TRUE(ui.find(QStringLiteral("sendButton"))->isEnabled());
    ui.screenshot(QStringLiteral("frames-edit-sheet"));

    ui.store.session().setRunningTask(QStringLiteral("Editing frame 6"));
    ui.settle();
    EXPECT_FALSE(ui.shown(QStringLiteral("sendButton")));
    ui.store.session().setRunningTask(std::nullopt);

    ui.bridges.storyboard.undoFrame(chunkID);
    ui.settle();
    EXPECT_EQ(ui.text(QStringLiteral("versionLine")), QStringLiteral("Version 2 · 2 redo"));
}

} // namespace
} // namespace quillvane
