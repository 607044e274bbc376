#include "UiHarness.h"

#include <QImage>

#include <gtest/gtest.h>

namespace quillvane {
namespace {

using test::UiHarness;

// Twelve chunks, each frame a field of one colour: 0-3 accepted, 4-7 generated with some
// checks, 8-11 not generated; the sixth has two earlier versions and one to redo.
Project storyboard(const test::TempLibrary &temp)
{
    Project project;
    project.characters.append({QUuid::createUuid(), QStringLiteral("Mia"), QString(), {QStringLiteral("/refs/mia.png")}});
    project.plan = StoryboardPlan{};
    project.plan->motif = QStringLiteral("paper letters drifting like snow");
    for (int i = 0; i < 12; ++i) {
        StoryboardChunk chunk;
        chunk.index = i;
        chunk.chunkNumber = i + 1;
        chunk.renderedText = QStringLiteral("Line %1 of the song").arg(i + 1);
        if (i < 8) {
            QImage image(960, 540, QImage::Format_RGB32);
            image.fill(QColor::fromHsv(i * 45, 160, 120));
            GeneratedFrame frame;
            frame.localPath = temp.path(QStringLiteral("f%1.png").arg(i));
            image.save(frame.localPath);
            frame.review = {true, true, i < 4 || i == 6, i < 4, i < 4};
            chunk.frame = frame;
        }
        if (i == 5) {
            chunk.undoStack = {*chunk.frame, *chunk.frame};
            chunk.frame->editRequest = QStringLiteral("make the sky sunset orange");
            chunk.redoStack.append(*chunk.frame);
        }
        project.chunks.append(chunk);
    }
    return project;
}

TEST(FrameReview, CardsGridAndSheetShowEachFramesStateAndActOnIt)
{
    test::TempLibrary images;
    UiHarness ui(storyboard(images), PipelineStage::storyboard);
    // A card's words, typed, become the chunk's.
    QQuickItem *field = ui.findAll("renderedTextField").value(2);
    ASSERT_TRUE(field);
    field->setProperty("text", QStringLiteral("Line 3, spelled right"));
    QMetaObject::invokeMethod(field, "textEdited");
    ui.settle();
    EXPECT_EQ(ui.store.project().chunks[2].renderedText, QStringLiteral("Line 3, spelled right"));

    ui.show(PipelineStage::frames);
    EXPECT_FALSE(ui.shown("toMotionButton"));
    const QList<QQuickItem *> undo = ui.findAll("undoButton");
    EXPECT_FALSE(undo[0]->isEnabled());
    EXPECT_TRUE(undo[5]->isEnabled());
    EXPECT_TRUE(ui.findAll("redoButton")[5]->isEnabled());
    const auto chip = [&](int i) { return ui.findAll("reviewChip").value(i)->property("text").toString(); };
    EXPECT_EQ(QStringList({chip(0), chip(4), chip(8)}), QStringList({QStringLiteral("Accepted"), QStringLiteral("Pending"),
                                                                      QStringLiteral("Not generated")}));
    ui.window()->resize(1200, 2300);
    ui.screenshot("frames-review-grid");

    // One action ticks the five checks of a pending frame; an accepted frame has nothing to tick.
    const QList<QQuickItem *> allPass = ui.findAll("allChecksButton");
    EXPECT_FALSE(allPass[0]->isEnabled());
    ASSERT_TRUE(allPass[4]->isEnabled());
    QMetaObject::invokeMethod(allPass[4], "clicked");
    ui.settle();
    EXPECT_TRUE(ui.store.project().chunks[4].isAccepted(ui.store.lyricsOnScreen()));
    EXPECT_EQ(chip(4), QStringLiteral("Accepted"));

    // The sheet is a popup, an object beside the items rather than one of them.
    QObject *sheet = ui.find("frameScreen")->findChild<QObject *>(QStringLiteral("frameSheet"));
    ASSERT_TRUE(sheet);
    const QString chunkID = uuidText(ui.store.project().chunks[5].id);
    QMetaObject::invokeMethod(sheet, "show", Q_ARG(QString, chunkID), Q_ARG(bool, false));
    ui.settle();
    EXPECT_EQ(ui.text("lastEditLine"), QStringLiteral("Last edit: “make the sky sunset orange”"));
    sheet->setProperty("editing", true);
    ui.settle();
    EXPECT_EQ(ui.text("versionLine"), QStringLiteral("Version 3 · 1 redo"));
    // Send takes only a request with words in it, and only while nothing else runs.
    for (const auto &[request, busy, sendable] : {std::tuple{"   ", false, false}, {"  warmer light  ", false, true},
                                                  {"  warmer light  ", true, false}}) {
        sheet->setProperty("request", QString::fromLatin1(request));
        ui.store.session().setRunningTask(busy ? std::optional(QStringLiteral("Editing frame 6")) : std::nullopt);
        ui.settle();
        const QQuickItem *send = ui.find("sendButton");
        EXPECT_EQ(send->isVisible() && send->isEnabled(), sendable) << request << busy;
    }
    ui.store.session().setRunningTask(std::nullopt);
    ui.screenshot("frames-edit-sheet");
    ui.bridges.storyboard.undoFrame(chunkID);
    ui.settle();
    EXPECT_EQ(ui.text("versionLine"), QStringLiteral("Version 2 · 2 redo"));

    // Chosen on the style screen (which shows the backend's default until then), lyrics set as
    // sung make spelling and readability Quillvane's: ticked, fixed and counted as passed.
    ui.show(PipelineStage::style);
    EXPECT_EQ(ui.find("lyricsPicker")->property("currentIndex").toInt(), int(LyricsOnScreen::painted));
    EXPECT_EQ(ui.text("lyricsNote"), QStringLiteral("The Quillvane service's default"));
    ui.store.editProject([](Project &p) { p.chunks[7].frame->review = {false, false, true, true, true}; });
    ui.bridges.cast.setLyricsOnScreen(int(LyricsOnScreen::sung));
    ui.settle();
    EXPECT_EQ(ui.find("lyricsPicker")->property("currentIndex").toInt(), int(LyricsOnScreen::sung));
    ui.screenshot("style-lyrics-sung");
    ui.show(PipelineStage::frames);
    EXPECT_EQ(chip(7), QStringLiteral("Accepted"));
    EXPECT_EQ(ui.bridges.storyboard.acceptedCount(), 6);
    const QQuickItem *spelling = ui.findAll("check-spellingCorrect").value(7);
    EXPECT_FALSE(spelling->isEnabled());
    EXPECT_TRUE(spelling->property("checked").toBool());
    EXPECT_EQ(spelling->property("note").toString(), QStringLiteral("Set by Quillvane as sung"));
    EXPECT_TRUE(ui.findAll("check-placementOK").value(7)->isEnabled());
    ui.screenshot("frames-review-sung");

    // Every frame accepted: the way to motion appears.
    ui.store.editProject([](Project &p) { p.chunks.erase(p.chunks.begin() + 4, p.chunks.end()); });
    ui.settle();
    EXPECT_TRUE(ui.shown("toMotionButton"));
}

} // namespace
} // namespace quillvane
