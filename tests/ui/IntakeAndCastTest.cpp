#include "UiHarness.h"
#include "model/TimeFormat.h"

#include <QImage>
#include <QProcess>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <cmath>

namespace quillvane {
using namespace std::chrono_literals;

namespace {

using test::UiHarness;

Project imported(bool timed)
{
    Project project;
    project.title = QStringLiteral("Letters in the Snow");
    project.artist = QStringLiteral("Mara Vale");
    project.audioPath = QStringLiteral("/music/Mara Vale - Letters in the Snow (extended night mix).mp3");
    project.rawLyrics = QStringLiteral("City lights are burning low\n\nDown the road we used to know\nHold my hand\nWe are letters in the snow");
    project.lyricsSource = LyricsSource::transcribed;
    const QStringList lines = project.rawLyrics.split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    const double starts[] = {0.4, 5.2, 61.4, 66.0};
    for (int i = 0; timed && i < 4; ++i)
        project.transcript.append({QUuid::createUuid(), lines[i], starts[i], starts[i] + 4.6, {}});
    return project;
}

// Types into the item as a user would: focus, then key presses on the window.
void typeInto(UiHarness &ui, const char *objectName, const QString &text, int cursorAt = -1)
{
    QQuickItem *item = ui.find(objectName);
    ASSERT_TRUE(item) << objectName;
    ui.window()->requestActivate();
    item->forceActiveFocus();
    if (cursorAt >= 0)
        item->setProperty("cursorPosition", cursorAt);
    for (const QChar character : text)
        QTest::keyClick(ui.window(), character.toLatin1());
    ui.settle();
}

QString lastError(const UiHarness &ui)
{
    return ui.store.session().lastError().value_or(QString());
}

TEST(IntakeScreen, ReplacingATrackAsksFirstAndTypingKeepsTheCursor)
{
    Project project = imported(true);
    for (int i = 0; i < 3; ++i) {
        project.chunks.append(StoryboardChunk{});
        project.chunks.last().index = i;
        if (i < 2)
            project.chunks.last().frame = GeneratedFrame{};
    }
    UiHarness ui(project);
    const Project before = ui.store.project();
    ui.click("replaceButton");
    ASSERT_TRUE(ui.shown("confirmButton"));
    EXPECT_EQ(ui.text("confirmMessage"), QStringLiteral("Replacing the track clears the storyboard and its 2 frames. Replace?"));
    ui.click("confirmCancel");
    EXPECT_FALSE(ui.shown("confirmButton"));
    EXPECT_EQ(ui.store.project(), before);

    typeInto(ui, "titleField", QStringLiteral("XY"), 7);
    EXPECT_EQ(ui.store.project().title, QStringLiteral("LettersXY in the Snow"));
    EXPECT_EQ(ui.find("titleField")->property("cursorPosition").toInt(), 9);

    typeInto(ui, "lyricsEditor", QStringLiteral("ab"), 4);
    EXPECT_TRUE(ui.store.project().rawLyrics.startsWith(QStringLiteral("Cityab lights")));
    EXPECT_EQ(ui.find("lyricsEditor")->property("cursorPosition").toInt(), 6);
    EXPECT_EQ(ui.store.project().lyricsSource, LyricsSource::manual);
    EXPECT_TRUE(ui.store.project().transcript.isEmpty());

    // The style's fields feed the prompt preview as they are typed.
    ui.show(PipelineStage::style);
    typeInto(ui, "moodField", QStringLiteral(" and rainy"), 25);
    EXPECT_EQ(ui.store.project().style.mood, QStringLiteral("Vivid, analog, expressive and rainy"));
    EXPECT_TRUE(ui.text("promptPreview").contains(QStringLiteral("expressive and rainy")));
}

// A run moves on to its next screen only when it left no error; a refusal keeps the screen.
TEST(IntakeScreen, ARunMovesOnOnlyWhenItLeftNoError)
{
    Project blank = imported(false);
    blank.rawLyrics = QStringLiteral(" \n\n");
    for (const auto &[project, from, button, to, error] : {
             std::tuple{imported(true), PipelineStage::intake, "alignButton", PipelineStage::timing, QString()},
             {blank, PipelineStage::intake, "alignButton", PipelineStage::intake, QStringLiteral("Add lyrics before planning the storyboard.")},
             {imported(true), PipelineStage::characters, "storyboardButton", PipelineStage::characters,
              QStringLiteral("Add a character with a reference image before planning — the plan is built around it.")}}) {
        UiHarness ui(project, from);
        ui.click(button);
        EXPECT_TRUE(test::processEventsUntil([&] { return ui.store.session().selectedStage() != from || ui.store.session().lastError(); }, 5s))
            << button;
        EXPECT_EQ(ui.store.session().selectedStage(), to) << button;
        EXPECT_EQ(lastError(ui), error);
    }
}

TEST(TimingScreen, StartsAreNudgedTypedOrTappedAndKeptInTimeOrder)
{
    UiHarness ui(imported(true), PipelineStage::timing);
    ui::TimingBridge &timing = ui.bridges.timing;
    const Project before = ui.store.project();
    const QList<QQuickItem *> steppers = ui.findAll("startStepper");
    const QList<QQuickItem *> fields = ui.findAll("segmentStart");
    ASSERT_EQ(steppers.size(), 4);
    ASSERT_EQ(fields.size(), 4);
    const double nudged = ui.store.project().transcript[1].start + 0.1;
    QMetaObject::invokeMethod(steppers[1], "step", Q_ARG(double, 0.1));
    ui.settle();
    EXPECT_NEAR(ui.store.project().transcript[1].start, nudged, 1e-9);
    EXPECT_EQ(fields[1]->property("text").toString(), clockText(nudged, ClockUnit::hundredths));

    // Typed past the next line's start: refused with a sentence, the line keeps its time.
    const Project typed = ui.store.project();
    fields[1]->setProperty("text", clockText(typed.transcript[2].start + 1, ClockUnit::hundredths));
    QMetaObject::invokeMethod(fields[1], "editingFinished");
    ui.settle();
    EXPECT_EQ(ui.store.project(), typed);
    EXPECT_TRUE(lastError(ui).startsWith(QStringLiteral("Line 2 cannot start after line 3")));
    EXPECT_EQ(fields[1]->property("text").toString(), clockText(nudged, ClockUnit::hundredths));
    ui.click("dismissButton");

    // The starts to the microsecond, so sums of tenths compare exactly.
    const auto starts = [&] {
        QList<double> list;
        for (const TranscriptSegment &line : ui.store.project().transcript)
            list << std::round(line.start * 1e6) / 1e6;
        return list;
    };

    // From a playhead of 3 s the next line is the second; a tap past the third line's start
    // pulls the third up with it, so the lines stay in order.
    timing.startTapping(3.0);
    EXPECT_EQ(timing.nextTapLine(), 1);
    EXPECT_TRUE(timing.tap(4.75) && timing.tap(62.5) && timing.tap(63.0));
    EXPECT_EQ(starts(), (QList<double>{0.4, 4.75, 62.5, 63.0}));
    EXPECT_DOUBLE_EQ(ui.store.project().transcript[0].end, 4.75) << "a tap ends the line before";
    ASSERT_FALSE(ui.store.session().lastError().has_value());
    EXPECT_FALSE(timing.tap(70)) << "every line is tapped";
    EXPECT_TRUE(ui.store.session().lastError().has_value());

    // Backspace, as a person presses it, takes the taps back one by one.
    ui.window()->requestActivate();
    ui.click("tapButton"); // stop
    ui.click("tapButton"); // start again at the playhead
    ASSERT_TRUE(timing.tapping());
    EXPECT_TRUE(ui.shown("nextTapBar"));
    ui.screenshot("timing-tapping");
    ui.key(Qt::Key_Space);
    EXPECT_EQ(timing.nextTapLine(), 1) << "Space tapped the first line";
    ui.key(Qt::Key_Backspace);
    EXPECT_EQ(starts(), (QList<double>{0.4, 4.75, 62.5, 63.0}));
    // Escape first dismisses the banner the refused tap left, then ends the tapping.
    ui.key(Qt::Key_Escape);
    EXPECT_FALSE(ui.store.session().lastError().has_value());
    EXPECT_TRUE(timing.tapping());
    ui.key(Qt::Key_Escape);
    EXPECT_FALSE(timing.tapping());

    // Shift all, typed into its field; the first line cannot go before the song.
    for (const char *shift : {"-0.25", "-1"}) {
        ui.find("shiftField")->setProperty("text", QString::fromLatin1(shift));
        ui.click("shiftButton");
        EXPECT_EQ(starts(), (QList<double>{0.15, 4.5, 62.25, 62.75})) << shift;
    }
    EXPECT_TRUE(lastError(ui).startsWith(QStringLiteral("Shifting by -1.00 s")));

    // A step back through the history ends tapping too: its taps belong to the lines as they were.
    timing.startTapping(0);
    ui.bridges.session.undo();
    EXPECT_FALSE(timing.tapping());
    while (ui.bridges.session.undo()) {
    }
    EXPECT_EQ(ui.store.project(), before) << "nudges, taps and shifts undo";
}

TEST(TimingScreen, TheWaveformShowsTheSongAndAMarkerDraggedMovesItsLine)
{
    // Four seconds: a loud tone for two, then silence.
    QTemporaryDir folder;
    const QString track = folder.filePath(QStringLiteral("tone.wav"));
    QProcess ffmpeg;
    ffmpeg.start(QStringLiteral("ffmpeg"), QStringLiteral("-v error -f lavfi -i sine=frequency=440:duration=2 -af apad=pad_dur=2,volume=8")
                                               .split(QLatin1Char(' ')) << track);
    ASSERT_TRUE(ffmpeg.waitForFinished(30000) && ffmpeg.exitCode() == 0);
    Project project = imported(false);
    project.audioPath = track;
    project.audioDuration = 4;
    for (const double start : {0.5, 2.0, 3.0})
        project.transcript.append({QUuid::createUuid(), QStringLiteral("line"), start, start + 0.9, {}});
    UiHarness ui(project, PipelineStage::timing);
    ui.window()->resize(1200, 800);
    const auto *outline = ui.bridges.timing.outline();
    ASSERT_TRUE(test::processEventsUntil([&] { return !outline->property("peaks").toList().isEmpty(); }, 10s));
    const QVariantList peaks = outline->property("peaks").toList();
    EXPECT_GT(peaks.at(peaks.size() / 4).toDouble(), 0.3) << "the tone is loud";
    EXPECT_LT(peaks.at(3 * peaks.size() / 4).toDouble(), 0.01) << "the silence is not";
    ui.screenshot("timing-waveform");

    ASSERT_EQ(ui.findAll("lineMarker").size(), 3);
    QQuickItem *strip = ui.find("waveformStrip");
    const auto sceneAt = [&](double seconds) {
        return strip->mapToScene(QPointF(seconds / 4.0 * strip->width(), strip->height() / 2)).toPoint();
    };
    const auto drag = [&](double from, double to) {
        QTest::mousePress(ui.window(), Qt::LeftButton, {}, sceneAt(from));
        for (int step = 1; step <= 10; ++step)
            QTest::mouseMove(ui.window(), sceneAt(from + (to - from) * step / 10.0));
        QTest::mouseRelease(ui.window(), Qt::LeftButton, {}, sceneAt(to));
        ui.settle();
    };
    drag(2.0, 2.5);
    EXPECT_NEAR(ui.store.project().transcript[1].start, 2.5, 0.05);
    // Past the next line's start: refused, and the line stays.
    const double kept = ui.store.project().transcript[1].start;
    drag(kept, 3.6);
    EXPECT_DOUBLE_EQ(ui.store.project().transcript[1].start, kept);
    EXPECT_TRUE(lastError(ui).startsWith(QStringLiteral("Line 2 cannot start after line 3")));
}

TEST(CharactersScreen, CastsTrimmedNamesAndShowsEachCardsReferences)
{
    UiHarness ui(imported(true), PipelineStage::characters);
    EXPECT_TRUE(ui.shown("noCharacters"));
    for (const char *name : {"  Mia  ", "   "}) {
        typeInto(ui, "newCharacterName", QString::fromLatin1(name));
        ui.click("addCharacterButton");
    }
    ASSERT_EQ(ui.store.project().characters.size(), 1);
    EXPECT_EQ(ui.store.project().characters[0].name, QStringLiteral("Mia"));

    addCharacter(ui.store.document(), QStringLiteral("The Courier"));
    const QUuid mia = ui.store.project().characters[0].id;
    QImage image(200, 200, QImage::Format_RGB32);
    image.fill(QColor(255, 103, 72));
    const QStringList references{ui.temp.path(QStringLiteral("a.png")), ui.temp.path(QStringLiteral("b.png"))};
    for (const QString &path : references)
        image.save(path);
    appendReferenceImages(ui.store.document(), mia, references);
    ui.store.editProject([](Project &p) { p.chunks.append(StoryboardChunk{}); }); // the storyboard is planned
    ui.settle();
    EXPECT_FALSE(ui.shown("noCharacters"));
    ui.screenshot("characters-two");

    // Each reference has its own remove control; the character's own asks before it goes.
    const QList<QQuickItem *> removeControls = ui.findAll("removeReferenceButton");
    ASSERT_EQ(removeControls.size(), 2);
    QMetaObject::invokeMethod(removeControls[0], "clicked");
    ui.settle();
    EXPECT_EQ(ui.store.project().characters[0].referenceImagePaths.size(), 1);
    QMetaObject::invokeMethod(ui.findAll("removeCharacterButton").value(1), "clicked");
    ui.settle();
    ASSERT_TRUE(ui.shown("confirmButton"));
    EXPECT_EQ(ui.store.project().characters.size(), 2) << "nothing goes before the confirmation";
    ui.click("confirmButton");
    ASSERT_EQ(ui.store.project().characters.size(), 1);
    EXPECT_EQ(ui.store.project().characters[0].id, mia);

    ui.click("storyboardButton");
    EXPECT_EQ(ui.store.session().selectedStage(), PipelineStage::storyboard);
}

} // namespace
} // namespace quillvane
