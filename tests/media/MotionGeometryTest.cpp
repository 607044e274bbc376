#include "media/MediaErrors.h"
#include "media/MotionGeometry.h"
#include "media/Resampler.h"

#include <QSizeF>

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace quillvane {
namespace {

TEST(ClipFrames, CountsFramesAsTheMotionStageDoesAndRefusesWhatNoClipCanHold)
{
    constexpr qint64 largest = std::numeric_limits<int32_t>::max();
    constexpr double infinity = std::numeric_limits<double>::infinity();
    // No frames expected: refused as out of range.
    const struct {
        double duration;
        qint64 fps;
        int expectedFps;
        qint64 expectedFrames;
    } rows[] = {{4.0, 30, 30, 120}, {2.99, 24, 24, 71}, {0.001, 30, 30, 1}, {3.0, 0, 1, 3}, {2.5, -5, 1, 2},
                {-4.0, 30, 30, 1}, {1.0, largest, int(largest), largest}, {4.0, largest + 1, 0, 0},
                {std::numeric_limits<double>::quiet_NaN(), 30, 0, 0}, {infinity, 30, 0, 0}, {-infinity, 30, 0, 0},
                {1e300, 30, 0, 0}, {9.3e18, 1, 0, 0}};
    for (const auto &row : rows) {
        try {
            const ClipFrames timing = clipFrames(DepthFlowSettings{.durationSeconds = row.duration, .fps = row.fps});
            EXPECT_EQ(std::pair(timing.fps, timing.frameCount), std::pair(row.expectedFps, row.expectedFrames))
                << row.duration << " s at " << row.fps;
        } catch (const MotionError &error) {
            EXPECT_EQ(std::pair(row.expectedFrames, error.kind()), std::pair(qint64(0), MotionError::Case::settingsOutOfRange))
                << row.duration << " s at " << row.fps;
        }
    }
}

// The default motion of a 1920x1080 still with its subject in the middle, in a 1920x1080 frame
// over 120 frames: a push-in about the middle.
TEST(PlaceStill, PushesInAboutTheMiddleOfAStillWhoseSubjectIsThere)
{
    const struct {
        qint64 k;
        double scale, width, height, x0, y0;
    } rows[] = {
        {0, 1.09, 2092.8, 1177.2, -86.4, -48.6},
        {60, 1.17175, 2249.76, 1265.49, -164.88, -92.745},
        {119, 1.252138, 2404.104, 1352.309, -242.052, -136.1545},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.k);
        const StillPlacement place = placeStill(row.k, 120, 1920, 1080, 1920, 1080, DepthFlowSettings{});
        EXPECT_NEAR(place.scale, row.scale, 1e-6);
        EXPECT_NEAR(place.width, row.width, 1e-3);
        EXPECT_NEAR(place.height, row.height, 1e-3);
        EXPECT_NEAR(place.x0, row.x0, 1e-2);
        EXPECT_NEAR(place.y0, row.y0, 1e-2);
    }
}

// Subjects by every edge and corner, in every shape of video, through a strong push-in and the
// frames a cross-fade carries it past its end: the still covers the frame and the subject stays
// whole in every frame, and ends no farther from the middle than it started.
TEST(PlaceStill, KeepsTheSubjectWholeAndTheFrameCoveredThroughThePushIn)
{
    const DepthFlowSettings strong{.intensity = 1, .zoom = 0.5};
    const QSizeF frames[] = {{1920, 1080}, {1080, 1920}, {1080, 1080}};
    const SubjectFocus subjects[] = {{.x = 0.08, .y = 0.5, .halfWidth = 0.06, .halfHeight = 0.2},
                                     {.x = 0.9, .y = 0.12, .halfWidth = 0.08, .halfHeight = 0.1},
                                     {.x = 0.8, .y = 0.84, .halfWidth = 0.11, .halfHeight = 0.14},
                                     {.x = 0.02, .y = 0.97, .halfWidth = 0, .halfHeight = 0}};
    constexpr double slack = 1e-6;
    for (const QSizeF &frame : frames) {
        for (const SubjectFocus &subject : subjects) {
            double firstOff = 0;
            for (qint64 k = 0; k < 60 + 9; ++k) {
                const StillPlacement place
                    = placeStill(k, 60, frame.width(), frame.height(), 1920, 1080, strong, subject);
                const double top = place.top(frame.height());
                SCOPED_TRACE(testing::Message() << frame.width() << "x" << frame.height() << " subject "
                                                << subject.x << "," << subject.y << " frame " << k);
                EXPECT_LE(place.x0, slack);
                EXPECT_LE(top, slack);
                EXPECT_GE(place.x0 + place.width, frame.width() - slack);
                EXPECT_GE(top + place.height, frame.height() - slack);
                // A subject enlarged past the frame's width (or height) cannot stay whole.
                if (2 * subject.halfWidth * place.width <= frame.width()) {
                    EXPECT_GE(place.x0 + (subject.x - subject.halfWidth) * place.width, -slack);
                    EXPECT_LE(place.x0 + (subject.x + subject.halfWidth) * place.width, frame.width() + slack);
                }
                if (2 * subject.halfHeight * place.height <= frame.height()) {
                    EXPECT_GE(top + (subject.y - subject.halfHeight) * place.height, -slack);
                    EXPECT_LE(top + (subject.y + subject.halfHeight) * place.height, frame.height() + slack);
                }
                const double off = std::hypot(place.x0 + subject.x * place.width - frame.width() / 2,
                                              top + subject.y * place.height - frame.height() / 2);
                if (k == 0)
                    firstOff = off;
                else
                    EXPECT_LE(off, firstOff + slack);
            }
        }
    }
}

TEST(PlaceStill, FitsTheFrameByAspect)
{
    const DepthFlowSettings still{.intensity = 0, .zoom = 0};
    // Square: fitted to the width and centred; 21:9: fitted to the height; equal aspect fills
    // the frame exactly in every frame.
    const struct {
        qint64 k;
        double sourceWidth, sourceHeight, width, height, x0, top;
    } rows[] = {{5, 1000, 1000, 1920, 1920, 0, -420}, {0, 2520, 1080, 2520, 1080, -300, 0},
                {0, 3840, 2160, 1920, 1080, 0, 0},     {9, 3840, 2160, 1920, 1080, 0, 0}};
    for (const auto &row : rows) {
        const StillPlacement place = placeStill(row.k, 10, 1920, 1080, row.sourceWidth, row.sourceHeight, still);
        EXPECT_EQ(std::tuple(place.width, place.height, place.x0, place.top(1080)),
                  std::tuple(row.width, row.height, row.x0, row.top))
            << row.sourceWidth << "x" << row.sourceHeight << " frame " << row.k;
    }
}

// Resampling of one row: source samples 0..n-1 drawn over [start, start + length).
std::vector<uint8_t> resampleRow(const std::vector<float> &source, int outputWidth, double start, double length,
                                 float fill)
{
    FloatPlane plane{int(source.size()), 1, {}};
    for (float value : source)
        plane.samples.push_back(value - fill);
    const AxisWeights columns
        = axisWeights({outputWidth, 0.5, 1, start, length, plane.width, double(plane.width)});
    const AxisWeights rows = axisWeights({1, 0.5, 1, 0, 1, 1, 1});
    std::vector<uint8_t> out(static_cast<size_t>(outputWidth));
    std::vector<float> scratch;
    resampleRows(plane, columns, rows, fill, out.data(), outputWidth, 0, 1, scratch);
    return out;
}

TEST(Resampler, GivesTheSourceBackInPlaceKeepsFlatAreasFlatAndLeavesTheFillWithNoSize)
{
    std::vector<float> source;
    for (int i = 0; i < 40; ++i)
        source.push_back(float((i * 37) % 200 + 20));
    const std::vector<uint8_t> same = resampleRow(source, 40, 0, 40, 16);
    for (size_t i = 0; i < source.size(); ++i)
        EXPECT_EQ(same[i], uint8_t(source[i])) << i;

    // At any sub-pixel place and scale.
    for (double start : {-3.25, -0.5, -0.01}) {
        for (double length : {64.5, 80.0, 130.7})
            EXPECT_EQ(resampleRow(std::vector<float>(64, 150.0f), 60, start, length, 16), std::vector<uint8_t>(60, 150))
                << start << " " << length;
    }
    for (double length : {0.0, -5.0, std::numeric_limits<double>::infinity()})
        EXPECT_EQ(resampleRow(std::vector<float>(8, 200.0f), 8, 0, length, 16), std::vector<uint8_t>(8, 16)) << length;
}

TEST(Resampler, BlendsEdgesWithTheFillByCoverageAndAveragesDetailWhenShrinking)
{
    // Drawn over [2.5, 12.5): pixels 2 and 12 are half covered, 0..1 and 13.. not at all.
    const std::vector<uint8_t> out = resampleRow(std::vector<float>(20, 200.0f), 16, 2.5, 10, 100);
    EXPECT_EQ((std::vector<uint8_t>{out[0], out[1], out[2], out[7], out[12], out[15]}),
              (std::vector<uint8_t>{100, 100, 150, 200, 150, 100}));

    // One-pixel stripes shrunk four times: a plain point sampler would pick one stripe colour.
    std::vector<float> stripes;
    for (int i = 0; i < 400; ++i)
        stripes.push_back(i % 2 ? 220.0f : 20.0f);
    const std::vector<uint8_t> shrunk = resampleRow(stripes, 100, 0, 100, 16);
    for (size_t i = 2; i + 2 < shrunk.size(); ++i)
        EXPECT_NEAR(shrunk[i], 120, 2) << i;
}

} // namespace
} // namespace quillvane
