#include "media/Lettering.h"
#include "media/LetteringOverlay.h"
#include "media/MediaFixtures.h"
#include "media/VideoFacts.h"

#include <QFontDatabase>

extern "C" {
#include <libavutil/frame.h>
}

#include <gtest/gtest.h>

#include <memory>

namespace quillvane {
namespace {

TranscriptSegment line(const QString &text, double start, double end, QList<TimedWord> words = {})
{
    TranscriptSegment segment;
    segment.text = text;
    segment.start = start;
    segment.end = end;
    segment.words = std::move(words);
    return segment;
}

QList<double> wordStarts(const LineCue &cue)
{
    QList<double> starts;
    for (const WordCue &word : cue.words)
        starts.append(word.start);
    return starts;
}

TEST(Lettering, LinesHoldOnceTheNextStartsAndAtMostTwoShow)
{
    // Out of order, with an empty and a backwards line that show nothing.
    const QList<LineCue> cues = lineCues({line(QStringLiteral("two"), 3, 3.2), line(QStringLiteral("one"), 0, 5),
                                          line(QStringLiteral("  "), 1, 2), line(QStringLiteral("back"), 2, 1),
                                          line(QStringLiteral("three"), 3, 5)});
    ASSERT_EQ(cues.size(), 3);
    EXPECT_EQ((std::tuple{cues[0].text, cues[0].until, cues[1].text, cues[1].until, cues[2].until}),
              (std::tuple{QStringLiteral("one"), 3 + letteringHold, QStringLiteral("two"), 3.2, 5.0}));
    const auto onScreen = [&](double time) {
        QList<qsizetype> shown;
        for (const CueOnScreen &cue : cuesAt(cues, time))
            shown.append(cue.cue);
        return shown;
    };
    EXPECT_EQ(onScreen(-0.1), QList<qsizetype>());
    EXPECT_EQ(onScreen(1), QList<qsizetype>({0}));
    EXPECT_EQ(onScreen(3.1), QList<qsizetype>({1, 2})) << "three started together: the oldest gives way";
    EXPECT_EQ(onScreen(3.5), QList<qsizetype>({2}));
    EXPECT_EQ(onScreen(5), QList<qsizetype>());
    EXPECT_NEAR(cuesAt(cues, 0.06).front().opacity, 0.5, 1e-9);
    EXPECT_NEAR(cuesAt(cues, 4.97).front().opacity, 0.25, 1e-9);
}

TEST(Lettering, WordsAreLitFromTheirTimesOrBySyllables)
{
    const std::pair<const char *, int> syllables[] = {{"strength", 1}, {"beautiful", 3}, {"café", 2}, {"Ёлка", 2},
                                                      {"東京", 2},      {"...!", 1},      {"rhythm", 1}};
    for (const auto &[word, count] : syllables)
        EXPECT_EQ(syllablesSung(QString::fromUtf8(word)), count) << word;

    // Aligned times are used when they match the words; otherwise the span goes by syllables.
    const QList<TimedWord> aligned{{QStringLiteral("hello"), 1.5, 1.8}, {QStringLiteral("world"), 2.5, 3}};
    EXPECT_EQ(wordStarts(lineCue(line(QStringLiteral(" hello   world "), 1, 4, aligned))), QList<double>({1.5, 2.5}));
    const QList<TimedWord> untimed{{QStringLiteral("hello"), 0, 0}, {QStringLiteral("world"), 0, 0}};
    EXPECT_EQ(wordStarts(lineCue(line(QStringLiteral("hello world"), 1, 4, untimed))), QList<double>({1, 3}));
    EXPECT_EQ(wordStarts(lineCue(line(QStringLiteral("a beautiful day"), 0, 5, aligned))), QList<double>({0, 1, 4}));

    // A clip's share of the lines: shortened to when they leave, their words where they were.
    const QList<TranscriptSegment> clip = linesShownBetween(
        {line(QStringLiteral("a beautiful day"), 0, 5), line(QStringLiteral("next"), 4, 6), line(QStringLiteral("later"), 7, 8)},
        3, 5);
    ASSERT_EQ(clip.size(), 2);
    EXPECT_EQ(clip[0].end, 4 + letteringHold);
    EXPECT_EQ(wordStarts(lineCue(clip[0])), QList<double>({0, 1, 4}));
}

TEST(Lettering, ColoursReachReadableContrast)
{
    EXPECT_NEAR(contrastRatio(Qt::white, Qt::black), 21, 1e-9);
    const QStringList palettes[] = {{},
                                    {QStringLiteral("#101820"), QStringLiteral("#202a44")},
                                    {QStringLiteral("#F4E1D2"), QStringLiteral("#F9D5E5"), QStringLiteral("#EEAC99")},
                                    {QStringLiteral("#777777")},
                                    {QStringLiteral("not a colour"), QStringLiteral("#12")}};
    for (const QStringList &palette : palettes) {
        const LetteringStyle style = letteringStyle(palette);
        const QColor outline = QColor::fromString(style.outline);
        EXPECT_GE(contrastRatio(QColor::fromString(style.fill), outline), readableContrast) << palette.join(QLatin1Char(' ')).toStdString();
        EXPECT_GE(contrastRatio(QColor::fromString(style.lit), outline), readableContrast) << palette.join(QLatin1Char(' ')).toStdString();
        EXPECT_GE(contrastRatio(QColor::fromString(style.lit), QColor::fromString(style.fill)), 1.3);
    }
    // Cream letters need no band over a dark picture, and a dark one over a light picture.
    const QList<QColor> letters{QColor(0xF7, 0xEC, 0xD2)};
    EXPECT_EQ(bandOpacity(letters, Qt::black, {QColor(20, 30, 30)}), 0);
    const QColor light(230, 230, 220);
    const double band = bandOpacity(letters, Qt::black, {light, QColor(20, 30, 30)});
    EXPECT_GT(band, 0);
    const QColor seen = QColor::fromRgbF(float(light.redF() * (1 - band)), float(light.greenF() * (1 - band)),
                                         float(light.blueF() * (1 - band)));
    EXPECT_GE(contrastRatio(letters[0], seen), readableContrast);
}

TEST(Lettering, TheAreaSuitsEveryShapeAndLongLinesFitIt)
{
    for (const VideoShape shape : allVideoShapes()) {
        const QSize frame = frameSize(shape, ExportResolution::p720);
        for (const LetteringThird third : {LetteringThird::lower, LetteringThird::upper}) {
            const LetteringArea area = letteringArea(frame, third);
            EXPECT_TRUE(QRect(QPoint(), frame).contains(area.box)) << textValue(shape).toStdString();
            EXPECT_GT(area.box.height(), 2.5 * area.pixelSize);
            EXPECT_EQ(area.box.center().y() > frame.height() / 2, third == LetteringThird::lower);
        }
    }
    EXPECT_EQ(calmerThird(1, 10), LetteringThird::upper);
    EXPECT_EQ(calmerThird(9, 10), LetteringThird::lower);

    // No row runs past the box, even made of one enormous word.
    const QFont font(QFontDatabase::systemFont(QFontDatabase::GeneralFont).family());
    for (const QString &text : {QStringLiteral("word ").repeated(60), QStringLiteral("W").repeated(120), QStringLiteral("short")}) {
        const FittedText fit = fitText(text, font, QSizeF(400, 60), 40);
        QTextLayout layout(text, font);
        layOut(layout, fit, 400);
        for (int i = 0; i < layout.lineCount(); ++i)
            EXPECT_LE(layout.lineAt(i).naturalTextWidth(), 400.5) << text.size();
        EXPECT_EQ(fit.pixelSize == 40, text == QStringLiteral("short"));
    }
}

// Brightest luma in the lower half of the frame's columns [from, to).
int brightest(const test::LumaFrame &frame, int from, int to)
{
    int most = 0;
    for (int y = frame.height / 2; y < frame.height; ++y)
        for (int x = from; x < to; ++x)
            most = std::max<int>(most, frame.at(x, y));
    return most;
}

TEST(Lettering, TheClipShowsEachLineWhileItIsSungWithTheSungWordsLit)
{
    QTemporaryDir dir;
    MotionClip clip;
    clip.imagePath = test::solidStill(dir, QStringLiteral("grey.png"), QColor(50, 50, 50), 160, 90);
    clip.settings = test::shortMotion(3, 10);
    clip.songStart = 0.2;
    // The first word the longer, so the left half of the frame holds nothing of the second.
    clip.lyrics = {line(QStringLiteral("WONDERFUL DAY"), 1, 2.5,
                        {{QStringLiteral("WONDERFUL"), 1, 1.5}, {QStringLiteral("DAY"), 1.6, 2.4}})};
    clip.lettering = {QStringLiteral("Anton"), QStringLiteral("#FFFFFF"), QStringLiteral("#FFB000"), QStringLiteral("#000000")};
    const QString path = dir.filePath(QStringLiteral("clip.mov"));
    FfmpegMotionRenderer(480, 270).renderNow(clip, path, {}, {});
    // Song times 0.5, 1.4 (the first word sung, the second not yet) and 2.8.
    const test::VideoFacts facts = test::inspectVideo(path, {3, 12, 26});
    ASSERT_EQ(facts.luma.size(), 3);
    EXPECT_LT(brightest(facts.luma[0], 0, 480), 90) << "before the line";
    EXPECT_LT(brightest(facts.luma[2], 0, 480), 90) << "after the line";
    const int first = brightest(facts.luma[1], 0, 240), second = brightest(facts.luma[1], 240, 480);
    EXPECT_GT(second, 215) << "the unsung word is white";
    EXPECT_GT(first, 140) << "the sung word is there";
    EXPECT_LT(first, 200) << "and amber";
}

TEST(Lettering, AwkwardLinesAreDrawnWhollyInsideTheFrame)
{
    const QList<TimedWord> untimed{{QStringLiteral("no"), 0, 0}, {QStringLiteral("times"), 0, 0}};
    const struct {
        const char *description;
        QList<TranscriptSegment> lines;
        QString family = QStringLiteral("Anton");
    } rows[] = {
        {"300 characters", {line(QStringLiteral("sing along ").repeated(27) + QStringLiteral("end"), 0, 4)}},
        {"one enormous word", {line(QStringLiteral("Supercalifragilistic").repeated(8), 0, 4)}},
        {"words without times", {line(QStringLiteral("no times"), 0, 4, untimed)}},
        {"overlapping lines", {line(QStringLiteral("one"), 0, 4), line(QStringLiteral("two"), 0.5, 4), line(QStringLiteral("three"), 0.5, 3)}},
        {"punctuation only", {line(QStringLiteral("… !!! ?"), 0, 4)}},
        {"emoji", {line(QStringLiteral("🎤🎶 sing 🎶"), 0, 4)}},
        {"right to left", {line(QStringLiteral("שלום עולם مرحبا"), 0, 4)}},
        {"CJK", {line(QStringLiteral("東京の夜 서울의 밤"), 0, 4)}},
        {"accents, Cyrillic, Greek", {line(QStringLiteral("Ça été Ёлка Ελλάδα"), 0, 4)}},
        {"a missing font", {line(QStringLiteral("hello"), 0, 4)}, QStringLiteral("No Such Family")},
    };
    QImage still(320, 180, QImage::Format_RGB32);
    still.fill(QColor(200, 200, 200));
    std::unique_ptr<AVFrame, void (*)(AVFrame *)> frame(av_frame_alloc(), [](AVFrame *f) { av_frame_free(&f); });
    frame->format = AV_PIX_FMT_YUV420P;
    frame->width = 320;
    frame->height = 180;
    ASSERT_EQ(av_frame_get_buffer(frame.get(), 0), 0);
    for (const auto &row : rows) {
        SCOPED_TRACE(row.description);
        MotionClip clip;
        clip.lyrics = row.lines;
        clip.lettering.family = row.family;
        const LetteringOverlay overlay(clip, still, 320, 180, 10, 40);
        for (int plane = 0; plane < 3; ++plane)
            std::fill_n(frame->data[plane], frame->linesize[plane] * (plane ? 90 : 180), uint8_t(128));
        overlay.draw(10, frame.get());
        int drawn = 0, atEdge = 0;
        for (int y = 0; y < 180; ++y)
            for (int x = 0; x < 320; ++x)
                if (frame->data[0][y * frame->linesize[0] + x] != 128) {
                    ++drawn;
                    atEdge += x == 0 || y == 0 || x == 319 || y == 179;
                }
        EXPECT_GT(drawn, 100);
        EXPECT_EQ(atEdge, 0) << "letters reach the frame's edge";
    }
}

} // namespace
} // namespace quillvane
