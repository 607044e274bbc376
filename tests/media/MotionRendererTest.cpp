#include "media/ClipProbe.h"
#include "media/MediaErrors.h"
#include "media/MotionGeometry.h"
#include "media/TitleCard.h"
#include "media/MediaFixtures.h"
#include "media/VideoFacts.h"
#include "support/Fixtures.h"

#include <QDir>
#include <QFile>
#include <QPainter>

#include <gtest/gtest.h>

#include <cmath>

namespace quillvane {
namespace {

using test::inspectVideo;
using test::shortMotion;
using test::solidStill;
using test::VideoFacts;

TEST(MotionRenderer, WritesOneH264TrackOfFramesAtKOverFpsWithTealUnderTransparency)
{
    QTemporaryDir dir;
    const QString clip = dir.filePath(QStringLiteral("clip.mov"));
    // 2.99 s at 24 fps: 71 frames, cut toward zero.
    FfmpegMotionRenderer(64, 36).renderNow(solidStill(dir, QStringLiteral("clear.png"), Qt::transparent),
                                           shortMotion(2.99, 24), clip, {}, {});
    const VideoFacts facts = inspectVideo(clip);
    EXPECT_EQ(facts.majorBrand, QByteArray("qt  "));
    EXPECT_EQ(std::tuple(facts.videoStreams, facts.audioStreams, facts.videoCodec, facts.width, facts.height),
              std::tuple(1, 0, QStringLiteral("h264"), 64, 36));
    ASSERT_EQ(facts.frameTimes.size(), 71);
    for (int k = 0; k < 71; ++k)
        EXPECT_NEAR(facts.frameTimes[k], k / 24.0, 1e-9) << k;
    EXPECT_NEAR(facts.videoEnd, 71 / 24.0, 1e-9);
    const YuvColour teal = yuvFromRgb(0.01, 0.06, 0.06);
    EXPECT_NEAR(facts.frameColours[0].y, teal.y, 1.5);
    EXPECT_NEAR(facts.frameColours[0].cb, teal.cb, 1.5);
    EXPECT_NEAR(facts.frameColours[0].cr, teal.cr, 1.5);
}

// A dark still with bright round marks at known places: where each mark's centre lands in
// a frame is where the motion says that point of the still goes.
const QPointF marks[] = {{480, 270}, {1440, 270}, {960, 540}, {480, 810}, {1440, 810}};

QString markedStill(const QTemporaryDir &dir)
{
    QImage image(1920, 1080, QImage::Format_RGB32);
    image.fill(QColor(20, 20, 20));
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(QColor(240, 240, 240));
    for (const QPointF &mark : marks)
        painter.drawEllipse(mark, 8, 8);
    const QString path = dir.filePath(QStringLiteral("marked.png"));
    image.save(path);
    return path;
}

// The brightness-weighted centre of the luma around a place, background taken off.
std::pair<double, double> centreNear(const test::LumaFrame &frame, double x, double y)
{
    double sum = 0, sumX = 0, sumY = 0;
    const int radius = 24;
    for (int row = int(y) - radius; row <= int(y) + radius; ++row) {
        for (int column = int(x) - radius; column <= int(x) + radius; ++column) {
            const double weight = std::max(0, frame.at(column, row) - 60);
            sum += weight;
            sumX += weight * (column + 0.5);
            sumY += weight * (row + 0.5);
        }
    }
    return {sumX / sum, sumY / sum};
}

TEST(MotionRenderer, TheDefaultClipPutsPointsOfTheStillWhereTheMotionSays)
{
    QTemporaryDir dir;
    const QString clip = dir.filePath(QStringLiteral("clip.mov"));
    const QString still = markedStill(dir);
    FfmpegMotionRenderer().renderNow(still, DepthFlowSettings{}, clip, {}, {});
    const SubjectFocus subject = subjectOf(*loadStill(still));
    // The default clip: 120 frames of 1920x1080 over four seconds.
    const QList<int> frames{0, 60, 119};
    const VideoFacts facts = inspectVideo(clip, frames);
    const QList<test::LumaFrame> &luma = facts.luma;
    EXPECT_EQ(QSize(facts.width, facts.height), QSize(1920, 1080));
    EXPECT_EQ(facts.frameTimes.size(), 120);
    EXPECT_NEAR(facts.videoEnd, 4.0, 1e-9);
    ASSERT_EQ(luma.size(), 3);
    for (int i = 0; i < 3; ++i) {
        const StillPlacement place = placeStill(frames[i], 120, 1920, 1080, 1920, 1080, DepthFlowSettings{}, subject);
        for (const QPointF &mark : marks) {
            const double expectedX = place.x0 + mark.x() / 1920 * place.width;
            const double expectedY = place.top(1080) + mark.y() / 1080 * place.height;
            const auto [x, y] = centreNear(luma[i], expectedX, expectedY);
            EXPECT_NEAR(x, expectedX, 0.5) << "frame " << frames[i] << " mark " << mark.x() << "," << mark.y();
            EXPECT_NEAR(y, expectedY, 0.5) << "frame " << frames[i] << " mark " << mark.x() << "," << mark.y();
        }
    }
}

TEST(MotionRenderer, FailuresSayWhatWentWrongAndLeaveNoClip)
{
    QTemporaryDir dir;
    const QString red = solidStill(dir, QStringLiteral("red.png"), Qt::red);
    const QString clip = dir.filePath(QStringLiteral("clip.mov"));
    const QByteArray whole = test::readFile(red);
    FfmpegMotionRenderer renderer(64, 36);
    // Not an image, cut short, empty, gone.
    const std::pair<const char *, QByteArray> stills[] = {{"frame.png", "these are words, not pixels"},
                                                          {"cut short.png", whole.left(whole.size() / 2)},
                                                          {"empty.png", {}},
                                                          {"gone.png", {}}};
    for (const auto &[name, bytes] : stills) {
        const QString still = dir.filePath(QString::fromLatin1(name));
        if (QLatin1String(name) != QLatin1String("gone.png"))
            test::writeFile(still, bytes);
        try {
            renderer.renderNow(still, shortMotion(1, 2), clip, {}, {});
            ADD_FAILURE() << "rendered " << name;
        } catch (const MotionError &error) {
            EXPECT_EQ(error.description(), QStringLiteral("Could not load frame image at %1.").arg(still));
        }
    }
    EXPECT_THROW(renderer.renderNow(red, shortMotion(1, 3'000'000'000LL), clip, {}, {}), MotionError);
    EXPECT_FALSE(QFile::exists(clip));

    // Cancelled after the first frame: the half-written clip goes.
    CancelToken cancel;
    EXPECT_THROW(renderer.renderNow(red, shortMotion(2, 10), clip, [&](double) { cancel.cancel(); }, cancel), Cancelled);
    EXPECT_FALSE(QFile::exists(clip));
}

TEST(MotionRenderer, AClipOfAGivenLengthOpensWithTheTitleCardAndKeepsItsKey)
{
    QTemporaryDir dir;
    const QString clip = dir.filePath(QStringLiteral("clip.mov"));
    MotionClip request{solidStill(dir, QStringLiteral("s.png"), Qt::red), shortMotion(60, 10), 7, 3,
                       QStringLiteral("Letters in the Snow"), QStringLiteral("Mara"), QStringLiteral("key-1"), {}, 0};
    FfmpegMotionRenderer(64, 36).renderNow(request, clip, {}, {});

    const VideoFacts facts = inspectVideo(clip);
    ASSERT_EQ(facts.frameTimes.size(), 7);
    EXPECT_NEAR(facts.videoEnd, 0.7, 1e-6);
    const YuvColour red = test::expectedColour(Qt::red);
    // The card is the still darkened, so its colour is far from the still's own; it fades into
    // the still over two frames (at most half the still's four), each nearer the still.
    const auto fromRed = [&](int k) { return std::abs(facts.frameColours[k].cr - red.cr); };
    for (int k = 0; k < 7; ++k)
        EXPECT_EQ(fromRed(k) > 20, k < 5) << k;
    EXPECT_TRUE(fromRed(2) > fromRed(3) + 2 && fromRed(3) > fromRed(4) + 2 && fromRed(4) > fromRed(5) + 2);
    EXPECT_EQ(clipKey(clip), QStringLiteral("key-1"));
    EXPECT_EQ(clipKey(dir.filePath(QStringLiteral("s.png"))), std::nullopt);
    EXPECT_EQ(clipKey(dir.filePath(QStringLiteral("missing.mov"))), std::nullopt);
}

// A blue clip after a red one: with a cross-fade its first round(0.3 s x 10 fps) = 3 frames
// step evenly from red to blue; with a cut it is blue throughout. It keeps its frame count.
TEST(MotionRenderer, CrossFadesFromThePreviousStillOverItsFirstFramesUnlessCut)
{
    QTemporaryDir dir;
    const QString clip = dir.filePath(QStringLiteral("clip.mov"));
    const YuvColour red = test::expectedColour(Qt::red);
    const YuvColour blue = test::expectedColour(Qt::blue);
    const struct {
        ClipTransition transition;
        QList<double> blueShares;
    } rows[] = {{ClipTransition::crossfade, {0.25, 0.5, 0.75, 1, 1}}, {ClipTransition::cut, {1, 1, 1, 1, 1}}};
    for (const auto &row : rows) {
        MotionClip request{.imagePath = solidStill(dir, QStringLiteral("blue.png"), Qt::blue),
                           .settings = shortMotion(1, 10),
                           .frameCount = 10,
                           .introFrames = 0,
                           .title = {},
                           .artist = {},
                           .key = {},
                           .previousImagePath = solidStill(dir, QStringLiteral("red.png"), Qt::red),
                           .previousFrameCount = 30};
        request.settings.transition = row.transition;
        FfmpegMotionRenderer(64, 36).renderNow(request, clip, {}, {});
        const VideoFacts facts = inspectVideo(clip);
        ASSERT_EQ(facts.frameTimes.size(), 10);
        for (int k = 0; k < row.blueShares.size(); ++k) {
            const double share = row.blueShares[k];
            EXPECT_NEAR(facts.frameColours[k].cr, red.cr + share * (blue.cr - red.cr), 2.5)
                << textValue(row.transition).toStdString() << " frame " << k;
            EXPECT_NEAR(facts.frameColours[k].y, red.y + share * (blue.y - red.y), 2.5)
                << textValue(row.transition).toStdString() << " frame " << k;
        }
    }
}

// The painter's "Subject" text wins; otherwise the picture's own contrast says where it is,
// pulled toward the middle; a flat picture's subject is its middle.
TEST(StillImage, FindsTheSubjectWrittenInTheFileOrSeenInThePicture)
{
    QImage written(200, 100, QImage::Format_RGB32);
    written.fill(Qt::gray);
    written.setText(QStringLiteral("Subject"), QStringLiteral("0.8,0.3,0.2,0.4"));
    QImage blob(200, 100, QImage::Format_RGB32);
    blob.fill(Qt::darkGreen);
    QPainter(&blob).fillRect(10, 60, 30, 30, Qt::yellow);
    QImage flat(200, 100, QImage::Format_RGB32);
    flat.fill(Qt::gray);
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("written.png"));
    ASSERT_TRUE(written.save(path));

    const SubjectFocus read = subjectOf(*loadStill(path));
    EXPECT_EQ(read, (SubjectFocus{.x = 0.8, .y = 0.3, .halfWidth = 0.1, .halfHeight = 0.2}));
    const SubjectFocus seen = subjectOf(blob);
    EXPECT_TRUE(seen.x < 0.3 && seen.x > 0.125 && seen.y > 0.6 && seen.y < 0.75) << seen.x << "," << seen.y;
    EXPECT_EQ(subjectOf(flat), SubjectFocus{});
}

// The card is the frame's size whatever the still's, and its letters fit a tall or square
// frame as they fit a wide one.
TEST(TitleCard, LettersTheTitleOverTheDarkenedStill)
{
    QImage still(1280, 720, QImage::Format_RGB32);
    still.fill(QColor(40, 120, 200));
    QPainter(&still).fillRect(0, 0, 640, 720, QColor(230, 90, 60));
    QDir().mkpath(QStringLiteral(QUILLVANE_SCREENSHOT_DIR));
    for (const QSize size : {QSize(1280, 720), QSize(720, 1280), QSize(720, 720)}) {
        SCOPED_TRACE(size.width() * 10000 + size.height());
        const QImage card = titleCard(still, size, QStringLiteral("Letters in the Snow"), QStringLiteral("Mara"));
        card.save(QStringLiteral(QUILLVANE_SCREENSHOT_DIR "/title-card-%1x%2.png").arg(size.width()).arg(size.height()));
        ASSERT_EQ(card.size(), size);
        // Away from the letters the picture is darker and its two halves blurred into each other.
        const int middle = size.width() / 2;
        EXPECT_LT(card.pixelColor(20, 20).lightness(), QColor(230, 90, 60).lightness() * 0.7);
        EXPECT_NE(card.pixelColor(middle - 8, size.height() - 20), card.pixelColor(20, size.height() - 20))
            << "no blur across the middle";
        // The title's rows hold cream letters brighter than anything in the darkened picture,
        // none of them at the edges.
        int bright = 0;
        int atEdges = 0;
        for (int y = int(size.height() * 0.25); y < int(size.height() * 0.47); y += 4) {
            for (int x = 0; x < card.width(); ++x) {
                const bool lit = card.pixelColor(x, y).lightness() > 200;
                bright += lit ? 1 : 0;
                atEdges += lit && (x < 8 || x >= size.width() - 8) ? 1 : 0;
            }
        }
        EXPECT_GT(bright, 400);
        EXPECT_EQ(atEdges, 0);
    }
}

} // namespace
} // namespace quillvane
