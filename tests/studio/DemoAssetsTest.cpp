// The demo's song and character as the importer and the painter will meet them.

#include "audio/AudioTools.h"
#include "studio/DemoAssets.h"

#include <QDir>
#include <QFileInfo>
#include <QImage>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <cmath>

using namespace quillvane;
using namespace quillvane::studio;

namespace {

double rms(const std::vector<float> &samples, int rate, double from, double to)
{
    const auto first = size_t(std::max(0.0, from) * rate);
    const auto last = std::min(samples.size(), size_t(to * rate));
    double sum = 0;
    for (size_t i = first; i < last; ++i)
        sum += double(samples[i]) * samples[i];
    return std::sqrt(sum / double(std::max<size_t>(1, last - first)));
}

// The sentence making the demo in this folder fails with; empty when it is made.
QString failureOf(const QString &folder)
{
    try {
        ensureDemoAssets(folder);
    } catch (const DemoError &error) {
        return error.description();
    }
    return {};
}

} // namespace

TEST(DemoAssets, TheSongIsATaggedTrackOfTheRightLengthAndFilesAlreadyMadeAreKept)
{
    QTemporaryDir folder;
    const QString demo = folder.filePath(QStringLiteral("demo"));
    const DemoAssets assets = ensureDemoAssets(demo);

    const AudioMetadata read = AudioTools::readMetadataNow(assets.song);
    EXPECT_EQ(read.title, QString::fromUtf8(demoTitle));
    EXPECT_EQ(read.artist, QString::fromUtf8(demoArtist));
    QStringList lines;
    for (const DemoLine &line : demoLines())
        lines.append(line.text);
    EXPECT_EQ(read.lyrics, lines.join(QLatin1Char('\n')));
    EXPECT_NEAR(read.duration, demoSongSeconds, 0.1);

    const QImage portrait(assets.character);
    EXPECT_EQ(portrait.size(), QSize(1024, 1024));
    // A figure, not a blank: the red jacket fills the bottom centre.
    const QColor jacket = portrait.pixelColor(300, 950);
    EXPECT_GT(jacket.red(), 150);
    EXPECT_LT(jacket.green(), 60);
    EXPECT_TRUE(QDir(demo).entryList(QDir::Dirs | QDir::NoDotAndDotDot | QDir::Hidden).isEmpty())
        << "the scratch folder is left behind";

    const QDateTime songWritten = QFileInfo(assets.song).lastModified();
    QFile::remove(assets.character);
    const DemoAssets again = ensureDemoAssets(demo);
    EXPECT_EQ(again.song, assets.song);
    EXPECT_EQ(QFileInfo(again.song).lastModified(), songWritten);
    EXPECT_TRUE(QFileInfo::exists(again.character));
}

TEST(DemoAssets, EveryLineIsSungWhereItsTimeSays)
{
    QTemporaryDir scratch;
    constexpr int rate = 16000;
    const std::vector<float> song = mixDemoSong(scratch.path(), rate);
    ASSERT_EQ(song.size(), size_t(demoSongSeconds * rate));
    for (const DemoLine &line : demoLines()) {
        const double before = rms(song, rate, line.start - 0.6, line.start - 0.05);
        const double sung = rms(song, rate, line.start + 0.1, line.start + 1.2);
        EXPECT_GT(sung, 2 * before) << qPrintable(line.text) << " at " << line.start;
    }
    EXPECT_TRUE(std::all_of(song.begin(), song.end(), [](float s) { return std::fabs(s) <= 1.0f; }));
}

TEST(DemoAssets, AMissingVoiceOrAFolderThatCannotBeMadeIsNamedAndNoSongIsLeft)
{
    QTemporaryDir folder;
    const QByteArray path = qgetenv("PATH");
    qputenv("PATH", QFile::encodeName(folder.filePath(QStringLiteral("no-such-bin")))); // no espeak-ng to be found
    const QString noVoice = failureOf(folder.path());
    qputenv("PATH", path);
    EXPECT_TRUE(noVoice.contains(QStringLiteral("apt install espeak-ng"))) << qPrintable(noVoice);
    EXPECT_TRUE(QDir(folder.path()).entryList(QDir::Files | QDir::Dirs | QDir::NoDotAndDotDot | QDir::Hidden).isEmpty());

    const QString blocker = folder.filePath(QStringLiteral("file"));
    QFile file(blocker);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.close();
    const QString noFolder = failureOf(blocker + QStringLiteral("/demo"));
    EXPECT_TRUE(noFolder.contains(blocker)) << qPrintable(noFolder);
}
