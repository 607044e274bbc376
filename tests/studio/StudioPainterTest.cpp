#include "studio/StudioPainter.h"

#include <QDir>

#include <gtest/gtest.h>

#include <cmath>

namespace quillvane {
namespace {

const QString prompt = QStringLiteral(
    "Vivid, analog, expressive. Medium: Hand-painted marker on physical surfaces. The exact text \"We are letters in "
    "the snow\" is physically present on a hand-painted shop sign, spelled correctly and clearly legible. Night "
    "street in the snow. Palette: #0B1026, #FF2E88, #20E3F2, #F8F4E3.");

struct Mean {
    double r = 0, g = 0, b = 0;
    double luma() const { return 0.2126 * r + 0.7152 * g + 0.0722 * b; }
};

Mean meanOf(const QImage &image, const QRect &area)
{
    Mean mean;
    const QRect inside = area.intersected(image.rect());
    for (int y = inside.top(); y <= inside.bottom(); y += 2) {
        for (int x = inside.left(); x <= inside.right(); x += 2) {
            const QRgb pixel = image.pixel(x, y);
            mean.r += qRed(pixel);
            mean.g += qGreen(pixel);
            mean.b += qBlue(pixel);
        }
    }
    const double count = std::ceil(inside.width() / 2.0) * std::ceil(inside.height() / 2.0);
    return {mean.r / count, mean.g / count, mean.b / count};
}

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

TEST(StudioPainter, ReadsTheWordsSurfaceAndPaletteFromThePrompt)
{
    const studio::FrameSpec scene = studio::frameSpecFromPrompt(prompt);
    EXPECT_EQ(scene.text, QStringLiteral("We are letters in the snow"));
    EXPECT_EQ(scene.surface, QStringLiteral("a hand-painted shop sign"));
    EXPECT_EQ(scene.palette, (QStringList{QStringLiteral("#0B1026"), QStringLiteral("#FF2E88"), QStringLiteral("#20E3F2"),
                                         QStringLiteral("#F8F4E3")}));
}

TEST(StudioPainter, TheSameRequestGivesTheSamePictureWithTheWordsStandingOut)
{
    const studio::FrameSpec scene = studio::frameSpecFromPrompt(prompt);
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
    const QRect all = frame.rect();
    const Mean before = meanOf(frame, all);

    const Mean sunset = meanOf(studio::editFrame(frame, scene, QStringLiteral("make the sky sunset orange")), all);
    EXPECT_GT(sunset.r - sunset.b, before.r - before.b + 20);
    EXPECT_LT(meanOf(studio::editFrame(frame, scene, QStringLiteral("darker please")), all).luma(), before.luma() - 10);
    EXPECT_GT(meanOf(studio::editFrame(frame, scene, QStringLiteral("brighter")), all).luma(), before.luma() + 10);

    studio::FrameSpec fixed = scene;
    fixed.text = QStringLiteral("We are letters in the snow!");
    EXPECT_EQ(studio::editFrame(frame, fixed, QStringLiteral("fix the sign spelling")), studio::paintFrame(fixed));
    const QImage rerolled = studio::editFrame(frame, scene, QStringLiteral("add a cat"));
    EXPECT_NE(rerolled, frame);
    EXPECT_EQ(rerolled, studio::editFrame(frame, scene, QStringLiteral("add a cat")));
}

TEST(StudioPainter, ElementsAreSquareEmblems)
{
    const QImage emblem = studio::paintElement(QStringLiteral("lantern"), QStringLiteral("#0F392F #FF6748 #D6EE27 #F7ECD2"));
    EXPECT_EQ(emblem.size(), QSize(1024, 1024));
    EXPECT_EQ(emblem, studio::paintElement(QStringLiteral("lantern"), QStringLiteral("#0F392F #FF6748 #D6EE27 #F7ECD2")));
}

} // namespace
} // namespace quillvane

namespace quillvane {
namespace {
TEST(StudioPainter, LookAtAFrame)
{
    const studio::FrameSpec scene = studio::frameSpecFromPrompt(prompt);
    QDir().mkpath(QStringLiteral(QUILLVANE_SCREENSHOT_DIR));
    studio::paintFrame(scene).save(QStringLiteral(QUILLVANE_SCREENSHOT_DIR "/studio-frame.png"));
    studio::paintElement(QStringLiteral("lantern"), prompt).save(QStringLiteral(QUILLVANE_SCREENSHOT_DIR "/studio-element.png"));
}
} // namespace
} // namespace quillvane
