#include "media/FfmpegVideoExporter.h"
#include "media/MediaErrors.h"
#include "media/MediaFixtures.h"
#include "media/VideoFacts.h"
#include "store/BlockingWait.h"
#include "support/Fixtures.h"

#include <QDir>
#include <QFile>

#include <gtest/gtest.h>

namespace quillvane {
namespace {

using namespace test;

// Three 1080p clips of different colours and lengths, made once for the whole suite.
class VideoExporterTest : public testing::Test {
protected:
    static void SetUpTestSuite()
    {
        dir = new QTemporaryDir;
        red = solidClip(*dir, QStringLiteral("red"), Qt::red, 5);
        green = solidClip(*dir, QStringLiteral("green"), Qt::green, 3);
        blue = solidClip(*dir, QStringLiteral("blue"), Qt::blue, 4);
        song = tone(*dir, 5);
    }
    static void TearDownTestSuite() { delete dir; }

    // Exports off the caller's thread, as the app does, keeping the progress it reported.
    QString exportTo(const QStringList &clips, const ExportSettings &settings, const QString &name,
                     const std::optional<QString> &audio = std::nullopt, bool copy = true)
    {
        const QString output = out.filePath(name);
        reported.clear();
        FfmpegVideoExporter exporter({copy});
        auto exporting = exporter.exportVideo(clips, audio, settings, output, [this](double p) { reported.append(p); }, {});
        EXPECT_EQ(blockingWait(std::move(exporting)), output);
        return output;
    }

    static inline QTemporaryDir *dir = nullptr;
    static inline QString red, green, blue, song;
    QTemporaryDir out;
    QList<double> reported;
};

// Which clip each frame came from, by its colour.
QString colourRun(const VideoFacts &facts)
{
    QString run;
    for (const MeanColour &colour : facts.frameColours)
        run += colour.cr > 200 ? QLatin1Char('r') : colour.cb > 200 ? QLatin1Char('b') : QLatin1Char('g');
    return run;
}

TEST_F(VideoExporterTest, CopiedClipsMatchAReEncodeInAllButBytesTheContainerDecidesTheBrandProgressEndsAtOne)
{
    // The song has no picture, so it is passed over.
    const QStringList clips{blue, red, song, green};
    const VideoFacts copied = inspectVideo(exportTo(clips, {}, QStringLiteral("copied.mp4")));
    ExportSettings mov;
    mov.container = ExportContainer::mov;
    const VideoFacts encoded = inspectVideo(exportTo(clips, mov, QStringLiteral("encoded.mov"), {}, false));
    ASSERT_FALSE(reported.isEmpty());
    EXPECT_EQ(std::tuple(reported.front(), reported.back(), std::is_sorted(reported.begin(), reported.end())),
              std::tuple(0.0, 1.0, true));
    EXPECT_EQ(copied.majorBrand, QByteArray("isom"));
    EXPECT_EQ(encoded.majorBrand, QByteArray("qt  "));
    for (const VideoFacts &facts : {copied, encoded}) {
        EXPECT_TRUE(facts.indexAtFront);
        EXPECT_EQ(std::tuple(facts.videoCodec, facts.width, facts.height), std::tuple(QStringLiteral("h264"), 1920, 1080));
        EXPECT_EQ(colourRun(facts), QStringLiteral("bbbbrrrrrggg"));
        EXPECT_NEAR(facts.videoEnd, 1.2, 1e-6);
    }
    EXPECT_EQ(copied.frameTimes, encoded.frameTimes);
    // The copy really is the clips' own pictures.
    EXPECT_EQ(copied.firstVideoPacket, inspectVideo(blue).firstVideoPacket);
}

TEST_F(VideoExporterTest, ScalesEveryClipIntoEachResolutionsBox)
{
    // Clips of another size or shape are fitted into the video's frame.
    const QString small = solidClip(*dir, QStringLiteral("small"), Qt::red, 2, 640, 360);
    const QString square = solidClip(*dir, QStringLiteral("square"), Qt::blue, 2, 360, 360);
    const std::tuple<ExportResolution, int, int> rows[] = {{ExportResolution::p720, 1280, 720},
                                                           {ExportResolution::p1080, 1920, 1080},
                                                           {ExportResolution::p1440, 1920, 1080},
                                                           {ExportResolution::p2160, 3840, 2160}};
    for (const auto &[resolution, width, height] : rows) {
        SCOPED_TRACE(textValue(resolution).toStdString());
        ExportSettings settings;
        settings.resolution = resolution;
        const VideoFacts facts = inspectVideo(exportTo({green, small, square}, settings, QStringLiteral("v.mp4")));
        EXPECT_EQ(QSize(facts.width, facts.height), QSize(width, height));
        EXPECT_EQ(facts.frameTimes.size(), 7);
        EXPECT_EQ(colourRun(facts).left(5), QStringLiteral("gggrr"));
    }
}

// A tall or square video has its shape's frame at its resolution (1440p sharing 1080p's): a
// clip rendered at that frame is copied as it is, into any other it is fitted.
TEST_F(VideoExporterTest, EachShapeHasItsOwnFrameAndClipsOfThatFrameAreCopied)
{
    MotionClip request;
    request.imagePath = solidStill(*dir, QStringLiteral("tall.png"), Qt::red);
    request.settings = shortMotion(0.3, 10);
    request.frameSize = QSize(1080, 1920);
    const QString tall = dir->filePath(QStringLiteral("tall.mov"));
    FfmpegMotionRenderer().renderNow(request, tall, {}, {});
    const std::tuple<VideoShape, ExportResolution, QSize, bool> rows[] = {
        {VideoShape::portrait, ExportResolution::p1080, {1080, 1920}, true},
        {VideoShape::portrait, ExportResolution::p720, {720, 1280}, false},
        {VideoShape::square, ExportResolution::p1440, {1080, 1080}, false}};
    for (const auto &[shape, resolution, size, copied] : rows) {
        SCOPED_TRACE(textValue(shape).toStdString() + " " + textValue(resolution).toStdString());
        ExportSettings settings;
        settings.shape = shape;
        settings.resolution = resolution;
        const VideoFacts facts = inspectVideo(exportTo({tall, tall}, settings, QStringLiteral("shaped.mp4")));
        EXPECT_EQ(QSize(facts.width, facts.height), size);
        EXPECT_EQ(facts.frameTimes.size(), 6);
        EXPECT_EQ(facts.firstVideoPacket == inspectVideo(tall).firstVideoPacket, copied);
    }
}

TEST_F(VideoExporterTest, PutsTheOriginalAudioUnderTheVideoOnlyWhenAskedAndThere)
{
    // (tone length, 0 for none given; included; deleted first; audio tracks; audio length)
    const std::tuple<double, bool, bool, int, double> rows[] = {
        {5, true, false, 1, 1.2}, // cut at the video's end
        {0.5, true, false, 1, 0.5}, {5, false, false, 0, 0}, {5, true, true, 0, 0}, {0, true, false, 0, 0}};
    for (const auto &[toneSeconds, include, deleted, audioStreams, audioSeconds] : rows) {
        SCOPED_TRACE(testing::Message() << toneSeconds << (include ? " included" : "") << (deleted ? " deleted" : ""));
        const std::optional<QString> audio = toneSeconds > 0 ? std::optional(tone(out, toneSeconds)) : std::nullopt;
        if (deleted)
            QFile::remove(*audio);
        ExportSettings settings;
        settings.includeOriginalAudio = include;
        const VideoFacts facts = inspectVideo(exportTo({red, green, blue}, settings, QStringLiteral("a.mp4"), audio));
        EXPECT_EQ(facts.audioStreams, audioStreams);
        EXPECT_NEAR(facts.audioSeconds, audioSeconds, 0.03);
        EXPECT_EQ(facts.frameTimes.size(), 12);
    }
}

TEST_F(VideoExporterTest, FailuresSayWhyAndKeepAnEarlierExportWhole)
{
    const QString output = out.filePath(QStringLiteral("video.mp4"));
    const auto failure = [&](const QStringList &clips) {
        try {
            FfmpegVideoExporter().exportNow(clips, std::nullopt, {}, output, {}, {});
        } catch (const Error &error) {
            return error.description();
        }
        return QString();
    };
    EXPECT_EQ(failure({}), QStringLiteral("There are no rendered clips to export."));
    EXPECT_EQ(failure({song}), QStringLiteral("There are no rendered clips to export."));

    FfmpegVideoExporter().exportNow({red}, std::nullopt, {}, output, {}, {});
    const QByteArray earlier = readFile(output);
    // A clip gone, or damaged on disk after it was rendered: cut short, cut at the header, emptied.
    const QByteArray whole = readFile(blue);
    const std::pair<QString, QByteArray> clips[] = {{QStringLiteral("gone.mov"), {}},
                                                   {QStringLiteral("cut-short.mov"), whole.left(whole.size() / 2)},
                                                   {QStringLiteral("cut-at-the-header.mov"), whole.left(200)},
                                                   {QStringLiteral("empty.mov"), QByteArray()}};
    for (const auto &[name, bytes] : clips) {
        const QString path = dir->filePath(name);
        if (name != QStringLiteral("gone.mov"))
            writeFile(path, bytes);
        EXPECT_EQ(failure({green, path}), QStringLiteral("Export failed: could not read the clip %1.").arg(path));
        EXPECT_EQ(readFile(output), earlier) << qPrintable(name);
    }
    EXPECT_EQ(QDir(out.path()).entryList(QDir::Files | QDir::Hidden), QStringList{QStringLiteral("video.mp4")});
}

} // namespace
} // namespace quillvane
