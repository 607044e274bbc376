#include "UiHarness.h"
#include "model/TimeFormat.h"

#include <QImage>
#include <QQuickItem>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

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
    if (timed) {
        const double starts[] = {0.4, 5.2, 61.4, 66.0};
        const char *lines[] = {"City lights are burning low", "Down the road we used to know", "Hold my hand",
                               "We are letters in the snow"};
        for (int i = 0; i < 4; ++i)
            project.transcript.append({QUuid::createUuid(), QString::fromLatin1(lines[i]), starts[i], starts[i] + 4.6, {}});
    }
    return project;
}

// Types into the item as a user would: focus, then key presses on the window.
void typeInto(UiHarness &ui, const QString &objectName, const QString &text, int cursorAt = -1)
{
    auto *item = qobject_cast<QQuickItem *>(ui.find(objectName));
    ASSERT_TRUE(item) << objectName.toStdString();
    ui.window()->requestActivate();
    item->forceActiveFocus();
    if (cursorAt >= 0)
        item->setProperty("cursorPosition", cursorAt);
    for (const QChar character : text)
        QTest::keyClick(ui.window(), character.toLatin1());
    ui.settle();
}

TEST(IntakeScreen, ReplacingATrackWithAStoryboardAsksFirst)
{
    Project project = imported(true);
    for (int i = 0; i < 3; ++i) {
        StoryboardChunk chunk;
        chunk.index = i;
        if (i < 2)
            chunk.frame = GeneratedFrame{};
        project.chunks.append(chunk);
    }
    UiHarness ui(project);
    ui.settle();
    const Project before = ui.store.project();
    QMetaObject::invokeMethod(ui.find(QStringLiteral("replaceButton")), "clicked");
    ui.settle();
    ASSERT_TRUE(ui.shown(QStringLiteral("confirmButton")));
    EXPECT_EQ(ui.text(QStringLiteral("confirmMessage")),
              QStringLiteral("Replacing the track clears the storyboard and its 2 frames. Replace?"));
    QMetaObject::invokeMethod(ui.find(QStringLiteral("confirmCancel")), "clicked");
    ui.settle();
    EXPECT_FALSE(ui.shown(QStringLiteral("confirmButton")));
    EXPECT_EQ(ui.store.project(), before);
}

TEST(IntakeScreen, TypingKeepsTheCursorAndMarksTheLyricsAsEdited)
{
    UiHarness ui(imported(true));
    typeInto(ui, QStringLiteral("titleField"), QStringLiteral("XY"), 7);
    EXPECT_EQ(ui.store.project().title, QStringLiteral("LettersXY in the Snow"));
    EXPECT_EQ(ui.find(QStringLiteral("titleField"))->property("cursorPosition").toInt(), 9);

    typeInto(ui, QStringLiteral("lyricsEditor"), QStringLiteral("ab"), 4);
    EXPECT_TRUE(ui.store.project().rawLyrics.startsWith(QStringLiteral("Cityab lights")));
    EXPECT_EQ(ui.find(QStringLiteral("lyricsEditor"))->property("cursorPosition").toInt(), 6);
    EXPECT_EQ(ui.store.project().lyricsSource, LyricsSource::manual);
    EXPECT_TRUE(ui.store.project().transcript.isEmpty());
    EXPECT_EQ(ui.text(QStringLiteral("alignButton")), QStringLiteral("Align timing"));
}

TEST(TimingScreen, StartsAreNudgedOrTypedAndKeptInTimeOrder)
{
    UiHarness ui(imported(true));
    ui.store.session().setSelectedStage(PipelineStage::timing);
    ui.settle();
    const QList<QQuickItem *> starts = ui.findAll(QStringLiteral("startStepper"));
    const QList<QQuickItem *> fields = ui.findAll(QStringLiteral("segmentStart"));
    ASSERT_EQ(starts.size(), 4);
    ASSERT_EQ(fields.size(), 4);
    const double second = ui.store.project().transcript[1].start;
    QMetaObject::invokeMethod(starts[1], "step", Q_ARG(double, 0.1));
    ui.settle();
    EXPECT_NEAR(ui.store.project().transcript[1].start, second + 0.1, 1e-9);
    EXPECT_EQ(fields[1]->property("text").toString(), clockText(second + 0.1, ClockUnit::hundredths));

    // Typed past the next line's start: refused with a sentence, the line keeps its time.
    const Project before = ui.store.project();
    fields[1]->setProperty("text", clockText(before.transcript[2].start + 1, ClockUnit::hundredths));
    QMetaObject::invokeMethod(fields[1], "editingFinished");
    ui.settle();
    EXPECT_EQ(ui.store.project(), before);
    EXPECT_TRUE(ui.store.session().lastError().value_or(QString()).startsWith(QStringLiteral("Line 2 cannot start after line 3")));
    EXPECT_EQ(fields[1]->property("text").toString(), clockText(second + 0.1, ClockUnit::hundredths));
}

TEST(TimingScreen, TappingAlongStartsEachLineAtItsTapAndBackspaceTakesItBack)
{
    UiHarness ui(imported(true));
    ui.store.session().setSelectedStage(PipelineStage::timing);
    ui.settle();
    const Project before = ui.store.project();
    // The starts to the microsecond, so sums of tenths compare exactly.
    const auto starts = [&] {
        QList<double> list;
        for (const TranscriptSegment &line : ui.store.project().transcript)
            list << std::round(line.start * 1e6) / 1e6;
        return list;
    };

    // From a playhead of 3 s the next line is the second; a tap past the third line's start
    // pulls the third up with it, so the lines stay in order.
    ui.bridges.timing.startTapping(3.0);
    EXPECT_EQ(ui.bridges.timing.nextTapLine(), 1);
    EXPECT_TRUE(ui.bridges.timing.tap(4.75));
    EXPECT_TRUE(ui.bridges.timing.tap(62.5));
    EXPECT_TRUE(ui.bridges.timing.tap(63.0));
    EXPECT_EQ(starts(), (QList<double>{0.4, 4.75, 62.5, 63.0}));
    EXPECT_DOUBLE_EQ(ui.store.project().transcript[0].end, 4.75) << "a tap ends the line before";
    EXPECT_FALSE(ui.bridges.timing.tap(70)) << "every line is tapped";
    EXPECT_TRUE(ui.store.session().lastError().has_value());

    // Backspace, as a person presses it, takes the taps back one by one.
    ui.window()->requestActivate();
    ui.settle();
    QMetaObject::invokeMethod(ui.find(QStringLiteral("tapButton")), "clicked"); // stop
    QMetaObject::invokeMethod(ui.find(QStringLiteral("tapButton")), "clicked"); // start again at the playhead
    ui.settle();
    ASSERT_TRUE(ui.bridges.timing.tapping());
    EXPECT_TRUE(ui.shown(QStringLiteral("nextTapBar")));
    ui.screenshot(QStringLiteral("timing-tapping"));
    QTest::keyClick(ui.window(), Qt::Key_Space);
    ui.settle();
    EXPECT_EQ(ui.bridges.timing.nextTapLine(), 1) << "Space tapped the first line";
    QTest::keyClick(ui.window(), Qt::Key_Backspace);
    ui.settle();
    EXPECT_EQ(starts(), (QList<double>{0.4, 4.75, 62.5, 63.0}));
    // Escape first dismisses the banner the refused tap left, then ends the tapping.
    QTest::keyClick(ui.window(), Qt::Key_Escape);
    ui.settle();
    EXPECT_FALSE(ui.store.session().lastError().has_value());
    EXPECT_TRUE(ui.bridges.timing.tapping());
    QTest::keyClick(ui.window(), Qt::Key_Escape);
    ui.settle();
    EXPECT_FALSE(ui.bridges.timing.tapping());

    // Shift all, typed into its field.
    ui.find(QStringLiteral("shiftField"))->setProperty("text", QStringLiteral("-0.25"));
    QMetaObject::invokeMethod(ui.find(QStringLiteral("shiftButton")), "clicked");
    ui.settle();
    EXPECT_EQ(starts(), (QList<double>{0.15, 4.5, 62.25, 62.75}));
    ui.find(QStringLiteral("shiftField"))->setProperty("text", QStringLiteral("-1"));
    QMetaObject::invokeMethod(ui.find(QStringLiteral("shiftButton")), "clicked");
    ui.settle();
    EXPECT_EQ(starts(), (QList<double>{0.15, 4.5, 62.25, 62.75})) << "the first line cannot go before the song";
    EXPECT_TRUE(ui.store.session().lastError().value_or(QString()).startsWith(QStringLiteral("Shifting by -1.00 s")));

    // A step back through the history ends tapping too: its taps belong to the lines as they were.
    ui.bridges.timing.startTapping(0);
    ui.bridges.session.undo();
    EXPECT_FALSE(ui.bridges.timing.tapping());
    while (ui.bridges.session.undo()) {
    }
    EXPECT_EQ(ui.store.project(), before) << "taps and shifts undo";
}

TEST(TimingScreen, TheWaveformShowsTheSongAndAMarkerDraggedMovesItsLine)
{
    // Four seconds: a loud tone for two, then silence.
    QTemporaryDir folder;
    const QString track = folder.filePath(QStringLiteral("tone.wav"));
    QProcess ffmpeg;
    ffmpeg.start(QStringLiteral("ffmpeg"), {QStringLiteral("-v"), QStringLiteral("error"), QStringLiteral("-f"), QStringLiteral("lavfi"),
                                            QStringLiteral("-i"), QStringLiteral("sine=frequency=440:duration=2"), QStringLiteral("-af"),
                                            QStringLiteral("apad=pad_dur=2,volume=8"), track});
    ASSERT_TRUE(ffmpeg.waitForFinished(30000) && ffmpeg.exitCode() == 0);
    Project project = imported(false);
    project.audioPath = track;
    project.audioDuration = 4;
    for (const auto &[text, start] : {std::pair{"one", 0.5}, {"two", 2.0}, {"three", 3.0}})
        project.transcript.append({QUuid::createUuid(), QString::fromLatin1(text), start, start + 0.9, {}});
    UiHarness ui(project);
    ui.window()->resize(1200, 800);
    ui.store.session().setSelectedStage(PipelineStage::timing);
    auto *outline = ui.bridges.timing.outline();
    ASSERT_TRUE(test::processEventsUntil([&] { return !outline->property("peaks").toList().isEmpty(); }, 10s));
    const QVariantList peaks = outline->property("peaks").toList();
    EXPECT_GT(peaks.at(peaks.size() / 4).toDouble(), 0.3) << "the tone is loud";
    EXPECT_LT(peaks.at(3 * peaks.size() / 4).toDouble(), 0.01) << "the silence is not";
    ui.settle();
    ui.screenshot(QStringLiteral("timing-waveform"));

    const QList<QQuickItem *> markers = ui.findAll(QStringLiteral("lineMarker"));
    ASSERT_EQ(markers.size(), 3);
    QQuickItem *strip = ui.find(QStringLiteral("waveformStrip"));
    const auto sceneAt = [&](double seconds) {
        return strip->mapToScene(QPointF(seconds / 4.0 * strip->width(), strip->height() / 2)).toPoint();
    };
    // Dragged from 2.0 s to about 2.5 s, as a mouse does it.
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
    EXPECT_TRUE(ui.store.session().lastError().value_or(QString()).startsWith(QStringLiteral("Line 2 cannot start after line 3")));
}

QString referenceImage(const test::TempLibrary &temp, const QString &name, QColor colour)
{
    QImage image(200, 200, QImage::Format_RGB32);
    image.fill(colour);
    const QString path = temp.path(name);
    image.save(path);
    return path;
}

TEST(CharactersScreen, CastsTrimmedNamesAndShowsEachCardsReferences)
{
    Project project = imported(true);
    UiHarness ui(project);
    ui.store.session().setSelectedStage(PipelineStage::characters);
    ui.settle();
    EXPECT_TRUE(ui.shown(QStringLiteral("noCharacters")));

    typeInto(ui, QStringLiteral("newCharacterName"), QStringLiteral("  Mia  "));
    QMetaObject::invokeMethod(ui.find(QStringLiteral("addCharacterButton")), "clicked");
    typeInto(ui, QStringLiteral("newCharacterName"), QStringLiteral("   "));
    QMetaObject::invokeMethod(ui.find(QStringLiteral("addCharacterButton")), "clicked");
    ui.settle();
    ASSERT_EQ(ui.store.project().characters.size(), 1);
    EXPECT_EQ(ui.store.project().characters[0].name, QStringLiteral("Mia"));

    addCharacter(ui.store.document(), QStringLiteral("The Courier"));
    const QUuid mia = ui.store.project().characters[0].id;
    appendReferenceImages(ui.store.document(), mia, {referenceImage(ui.temp, QStringLiteral("a.png"), QColor(255, 103, 72)),
                                      referenceImage(ui.temp, QStringLiteral("b.png"), Qt::blue)});
    ui.store.editProject([](Project &p) { p.chunks.append(StoryboardChunk{}); }); // the storyboard is planned
    ui.settle();
    EXPECT_FALSE(ui.shown(QStringLiteral("noCharacters")));
    ui.screenshot(QStringLiteral("characters-two"));

    // Each reference has its own remove control; the character's own asks before it goes.
    const QList<QQuickItem *> removeControls = ui.findAll(QStringLiteral("removeReferenceButton"));
    ASSERT_EQ(removeControls.size(), 2);
    QMetaObject::invokeMethod(removeControls[0], "clicked");
    ui.settle();
    EXPECT_EQ(ui.store.project().characters[0].referenceImagePaths.size(), 1);
    QMetaObject::invokeMethod(ui.findAll(QStringLiteral("removeCharacterButton")).value(1), "clicked");
    ui.settle();
    ASSERT_TRUE(ui.shown(QStringLiteral("confirmButton")));
    EXPECT_EQ(ui.store.project().characters.size(), 2) << "nothing goes before the confirmation";
    QMetaObject::invokeMethod(ui.find(QStringLiteral("confirmButton")), "clicked");
    ui.settle();
    ASSERT_EQ(ui.store.project().characters.size(), 1);
    EXPECT_EQ(ui.store.project().characters[0].id, mia);

    QMetaObject::invokeMethod(ui.find(QStringLiteral("storyboardButton")), "clicked");
    ui.settle();
    EXPECT_EQ(ui.store.session().selectedStage(), PipelineStage::storyboard);
}

TEST(StyleScreen, ThePreviewFollowsTheFields)
{
    UiHarness ui(imported(true));
    ui.store.session().setSelectedStage(PipelineStage::style);
    ui.settle();
    EXPECT_TRUE(ui.text(QStringLiteral("promptPreview")).contains(QStringLiteral("City lights are burning low")));
    EXPECT_TRUE(ui.text(QStringLiteral("promptPreview")).contains(QStringLiteral("a hand-painted marker sign")));
    typeInto(ui, QStringLiteral("moodField"), QStringLiteral(" and rainy"), 25);
    EXPECT_EQ(ui.store.project().style.mood, QStringLiteral("Vivid, analog, expressive and rainy"));
    EXPECT_TRUE(ui.text(QStringLiteral("promptPreview")).contains(QStringLiteral("expressive and rainy")));
}

TEST(IntakeScreen, MovesToTimingOnlyWhenTheRunLeftNoError)
{
    UiHarness timed(imported(true));
    QMetaObject::invokeMethod(timed.find(QStringLiteral("alignButton")), "clicked");
    EXPECT_TRUE(test::processEventsUntil([&] { return timed.store.session().selectedStage() == PipelineStage::timing; },
                                         std::chrono::seconds(5)));

    Project blank = imported(false);
    blank.rawLyrics = QStringLiteral(" \n\n");
    UiHarness ui(blank);
    QMetaObject::invokeMethod(ui.find(QStringLiteral("alignButton")), "clicked");
    EXPECT_TRUE(test::processEventsUntil([&] { return ui.store.session().lastError().has_value(); }, std::chrono::seconds(5)));
    EXPECT_EQ(ui.store.session().lastError(), QStringLiteral("Add lyrics before planning the storyboard."));
    EXPECT_EQ(ui.store.session().selectedStage(), PipelineStage::intake);
}

TEST(CharactersScreen, APlanningFailureStaysOnTheScreenWithItsMessage)
{
    UiHarness ui(imported(true));
    ui.store.session().setSelectedStage(PipelineStage::characters);
    ui.settle();
    QMetaObject::invokeMethod(ui.find(QStringLiteral("storyboardButton")), "clicked");
    EXPECT_TRUE(test::processEventsUntil([&] { return ui.store.session().lastError().has_value(); }, std::chrono::seconds(5)));
    EXPECT_EQ(ui.store.session().lastError(),
              QStringLiteral("Add a character with a reference image before planning — the plan is built around it."));
    EXPECT_EQ(ui.store.session().selectedStage(), PipelineStage::characters);
}

} // namespace
} // namespace quillvane
