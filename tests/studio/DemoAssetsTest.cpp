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

// Runs with PATH pointing at an empty folder, so no espeak-ng can be found.
class NoVoice {
public:
    NoVoice() : m_saved(qgetenv("PATH")) { qputenv("PATH", QFile::encodeName(m_empty.path())); }
    ~NoVoice() { qputenv("PATH", m_saved); }

private:
    QTemporaryDir m_empty;
    QByteArray m_saved;
};

} // namespace

TEST(DemoAssets, TheSongIsATaggedTrackOfTheRightLength)
{
    QTemporaryDir folder;
    const DemoAssets assets = ensureDemoAssets(folder.filePath(QStringLiteral("demo")));

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
    EXPECT_TRUE(QDir(folder.filePath(QStringLiteral("demo"))).entryList(QDir::Dirs | QDir::NoDotAndDotDot | QDir::Hidden).isEmpty())
        << "the scratch folder is left behind";
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

TEST(DemoAssets, FilesAlreadyMadeAreKeptAndMissingOnesRemade)
{
    QTemporaryDir folder;
    const DemoAssets first = ensureDemoAssets(folder.path());
    const QDateTime songWritten = QFileInfo(first.song).lastModified();
    QFile::remove(first.character);

    const DemoAssets second = ensureDemoAssets(folder.path());
    EXPECT_EQ(second.song, first.song);
    EXPECT_EQ(QFileInfo(second.song).lastModified(), songWritten);
    EXPECT_TRUE(QFileInfo::exists(second.character));
}

TEST(DemoAssets, WithoutEspeakTheUserIsToldWhatToInstallAndNoSongIsLeft)
{
    QTemporaryDir folder;
    const NoVoice noVoice;
    try {
        ensureDemoAssets(folder.path());
        FAIL() << "the demo was made without a voice";
    } catch (const DemoError &error) {
        EXPECT_TRUE(error.description().contains(QStringLiteral("apt install espeak-ng"))) << qPrintable(error.description());
    }
    EXPECT_TRUE(QDir(folder.path()).entryList(QDir::Files | QDir::Dirs | QDir::NoDotAndDotDot | QDir::Hidden).isEmpty());
}

TEST(DemoAssets, AFolderThatCannotBeMadeIsNamed)
{
    QTemporaryDir folder;
    const QString blocker = folder.filePath(QStringLiteral("file"));
    QFile file(blocker);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.close();
    try {
        ensureDemoAssets(blocker + QStringLiteral("/demo"));
        FAIL() << "a folder was made inside a file";
    } catch (const DemoError &error) {
        EXPECT_TRUE(error.description().contains(blocker)) << qPrintable(error.description());
    }
}
