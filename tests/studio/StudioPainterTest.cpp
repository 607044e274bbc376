#include "model/Records.h"
#include "studio/StudioPainter.h"

#include <QPainter>

#include <gtest/gtest.h>

#include <cmath>

namespace quillvane {
namespace {

const QString prompt = QStringLiteral(
    "Vivid, analog, expressive. Medium: Hand-painted marker on physical surfaces. The exact text \"We are letters in "
    "the snow\" is physically present on a hand-painted shop sign, spelled correctly and clearly legible. Night "
    "street in the snow. Palette: #0B1026, #FF2E88, #20E3F2, #F8F4E3.");

// The picture's mean colour: a smooth scale averages every pixel into one.
QColor meanOf(const QImage &image)
{
    return image.scaled(1, 1, Qt::IgnoreAspectRatio, Qt::SmoothTransformation).pixelColor(0, 0);
}

int luma(const QColor &colour) { return qGray(colour.rgb()); }

double difference(const QImage &a, const QImage &b, const QRect &area)
{
    double total = 0;
    int count = 0;
    for (int y = area.top(); y <= area.bottom(); y += 2) {
        for (int x = area.left(); x <= area.right(); x += 2) {
            const QRgb p = a.pixel(x, y);
            const QRgb q = b.pixel(x, y);
            total += std::abs(qRed(p) - qRed(q)) + std::abs(qGreen(p) - qGreen(q)) + std::abs(qBlue(p) - qBlue(q));
            ++count;
        }
    }
    return total / (3.0 * count);
}

TEST(StudioPainter, ReadsThePromptAndTheSameRequestGivesTheSamePictureWithTheWordsStandingOut)
{
    const studio::FrameSpec scene = studio::frameSpecFromPrompt(prompt);
    EXPECT_EQ(scene.text, QStringLiteral("We are letters in the snow"));
    EXPECT_EQ(scene.surface, QStringLiteral("a hand-painted shop sign"));
    EXPECT_EQ(scene.palette, QStringLiteral("#0B1026 #FF2E88 #20E3F2 #F8F4E3").split(QLatin1Char(' ')));

    const QImage frame = studio::paintFrame(scene);
    EXPECT_EQ(frame.size(), QSize(1920, 1080));
    EXPECT_EQ(frame, studio::paintFrame(scene));

    studio::FrameSpec blank = scene;
    blank.text.clear();
    const QImage without = studio::paintFrame(blank);
    const QRect words = studio::textArea(scene).toAlignedRect();
    // The lettering changes its surface a lot and nothing outside it but the snow over it.
    EXPECT_GT(difference(frame, without, words.adjusted(40, 40, -40, -40)), 12);
    EXPECT_LT(difference(frame, without, QRect(0, 800, 1920, 270)), 1);
}

TEST(StudioPainter, EditsApplyTheColourAndLightTheyName)
{
    const studio::FrameSpec scene = studio::frameSpecFromPrompt(prompt);
    const QImage frame = studio::paintFrame(scene);
    const QColor before = meanOf(frame);
    const QColor sunset = meanOf(studio::editFrame(frame, scene, QStringLiteral("make the sky sunset orange")));
    EXPECT_GT(sunset.red() - sunset.blue(), before.red() - before.blue() + 20);
    EXPECT_LT(luma(meanOf(studio::editFrame(frame, scene, QStringLiteral("darker please")))), luma(before) - 10);
    EXPECT_GT(luma(meanOf(studio::editFrame(frame, scene, QStringLiteral("brighter")))), luma(before) + 10);

    // Colour words count only on their own: "centred", "covered" and "redo" hold no red.
    EXPECT_EQ(studio::editFrame(frame, std::nullopt, QStringLiteral("keep it centred, covered; redo")),
              studio::editFrame(frame, std::nullopt, QStringLiteral("keep it as it is")));
    const QImage rerolled = studio::editFrame(frame, scene, QStringLiteral("add a cat"));
    EXPECT_NE(rerolled, frame);
    EXPECT_EQ(rerolled, studio::editFrame(frame, scene, QStringLiteral("add a cat")));
}

// A request about the words letters them again over the picture as it is: the portrait and
// the earlier edits stay.
TEST(StudioPainter, ARequestAboutTheWordsKeepsEverythingElse)
{
    const studio::FrameSpec scene = studio::frameSpecFromPrompt(prompt);
    QImage face(300, 400, QImage::Format_RGB32);
    face.fill(Qt::magenta);
    const QImage darker = studio::editFrame(studio::paintFrame(scene, face), scene, QStringLiteral("darker"));
    // Where the portrait hangs goes with the picture, for the motion to keep it in frame.
    EXPECT_EQ(darker.text(QStringLiteral("Subject")), QStringLiteral("0.8094,0.4407,0.2333,0.5074"));
    studio::FrameSpec fixed = scene;
    fixed.text = QStringLiteral("We are letters in the snow!");

    for (const char *request : {"fix the sign spelling", "the words are wrong", "redo the lettering", "Text: bigger"}) {
        SCOPED_TRACE(request);
        const QImage relettered = studio::editFrame(darker, fixed, QString::fromLatin1(request));
        const QRect surface = studio::textArea(fixed).toAlignedRect();
        const QRect inside = surface.adjusted(40, 40, -40, -40);
        // (The fresh frame's snow falls over its sign too, hence a little difference.)
        EXPECT_LT(difference(relettered, studio::paintFrame(fixed), inside), 4.0) << "the new words are lettered";
        EXPECT_GT(difference(relettered, darker, inside), 10.0) << "the sign is painted afresh";
        const QRect portrait(1400, 300, 300, 300);
        ASSERT_FALSE(portrait.intersects(surface));
        EXPECT_EQ(difference(relettered, darker, portrait), 0.0) << "the portrait and the darkening stay";
    }
}

// A reference of any shape fills the portrait's frame without being squashed: a round mark
// stays round.
TEST(StudioPainter, APortraitKeepsItsShape)
{
    const studio::FrameSpec scene = studio::frameSpecFromPrompt(QStringLiteral("The exact text \"Hi\" is on a sign."));
    for (const QSize size : {QSize(400, 200), QSize(200, 400), QSize(300, 300)}) {
        SCOPED_TRACE(size.width());
        QImage face(size, QImage::Format_RGB32);
        face.fill(Qt::white);
        QPainter painter(&face);
        painter.setBrush(Qt::magenta);
        painter.setPen(Qt::NoPen);
        painter.drawEllipse(QPointF(size.width() / 2.0, size.height() / 2.0), 30, 30);
        painter.end();
        const QImage frame = studio::paintFrame(scene, face);
        // The portrait's middle, where the mark lands.
        const QPoint centre(1344 + 210, 216 + 260);
        const auto magenta = [&](QPoint p) { return frame.rect().contains(p) && qRed(frame.pixel(p)) > 200 && qGreen(frame.pixel(p)) < 60; };
        const auto run = [&](QPoint step) {
            int length = magenta(centre) ? 1 : 0;
            for (int sign : {1, -1})
                for (QPoint p = centre + sign * step; magenta(p); p += sign * step)
                    ++length;
            return length;
        };
        const int wide = run(QPoint(1, 0));
        const int high = run(QPoint(0, 1));
        ASSERT_GT(high, 20);
        EXPECT_NEAR(double(wide) / high, 1.0, 0.1);
    }
}

// Every shape gets a picture of its own size in which the words and the portrait stay whole
// and apart, on a sign as on a wall.
TEST(StudioPainter, TallAndSquarePicturesKeepTheWordsAndThePortraitInside)
{
    for (const VideoShape shape : allVideoShapes()) {
        for (const char *surface : {"a shop sign", "a brick wall"}) {
            SCOPED_TRACE(textValue(shape).toStdString() + " " + surface);
            studio::FrameSpec scene = studio::frameSpecFromPrompt(
                QStringLiteral("The exact text \"We are letters in the snow\" is physically present on %1, night street.").arg(QString::fromLatin1(surface)));
            scene.size = frameSize(shape, ExportResolution::p1080);
            QImage face(120, 160, QImage::Format_RGB32);
            face.fill(Qt::magenta);
            const QImage painted = studio::paintFrame(scene, face);
            painted.save(QStringLiteral(QUILLVANE_SCREENSHOT_DIR "/studio-%1x%2-%3.png")
                             .arg(scene.size.width()).arg(scene.size.height()).arg(QLatin1String(surface).right(4)));
            EXPECT_EQ(painted.size(), scene.size);
            const QRectF frame(QPointF(0, 0), scene.size);
            const QRectF words = studio::textArea(scene);
            const QRectF portrait = studio::portraitArea(scene).adjusted(-14, -14, 14, 14); // with its border
            EXPECT_TRUE(frame.contains(words) && frame.contains(portrait));
            EXPECT_FALSE(words.intersects(portrait));
            EXPECT_GT(words.width(), frame.width() * 0.45) << "room for a line of words";
        }
    }
}

} // namespace
} // namespace quillvane
