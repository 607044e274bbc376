// Importing and timing a track through quillvane-cli, with a stand-in whisper program in the
// user's ~/.local/bin: a shell script that writes the JSON a real whisper would.

#include "audio/TimingRun.h"
#include "../audio/TaggedTrack.h"
#include "CliHome.h"

#include <QDir>
#include <QFileInfo>
#include <QImage>
#include <QProcess>
#include <QJsonArray>

#include <gtest/gtest.h>

using namespace quillvane;
using quillvane::test::CliHome;
using quillvane::test::CliResult;

namespace {

const QString lyrics = QStringLiteral("City lights are burning low\nDown the road we used to know\n"
                                      "Hold my hand and don't let go\nWe are letters in the snow");

// Installs a whisper that "hears" `json` in whatever it is given.
void installWhisper(const CliHome &home, const QByteArray &json)
{
    const QString path = home.path(QStringLiteral(".local/bin/whisper"));
    test::writeFile(path, "#!/bin/sh\n"
                          "audio=\"$1\"; out=\"\"\n"
                          "while [ $# -gt 0 ]; do [ \"$1\" = --output_dir ] && out=\"$2\"; shift; done\n"
                          "name=$(basename \"$audio\"); name=\"${name%.*}\"\n"
                          "cat > \"$out/$name.json\" <<'JSON'\n"
                          + json + "\nJSON\n");
    QFile::setPermissions(path, QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);
}

const QByteArray hearsTheLyrics =
    R"({"text": "City lights are burning low we are letters in the snow",
        "segments": [{"text": "City lights are burning low", "start": 0.0, "end": 4.0},
                     {"text": "We are letters in the snow", "start": 4.0, "end": 9.5}]})";
const QByteArray hearsAnotherSong =
    R"({"text": "nothing like the words at all", "segments": [{"text": "nothing like", "start": 0, "end": 2}]})";

QString lyricsSourceOf(const CliHome &home)
{
    return home.json({QStringLiteral("status")}).value(QStringLiteral("lyricsSource")).toString();
}

} // namespace

TEST(CliAudio, EveryLyricsSourceIsReachedThroughImport)
{
    QTemporaryDir tracks;
    const QString tagged = test::makeTaggedMp3(tracks.filePath(QStringLiteral("tagged.mp3")), 40, lyrics);
    const QString untagged = test::makeTaggedMp3(tracks.filePath(QStringLiteral("plain.mp3")), 5, std::nullopt);
    ASSERT_FALSE(tagged.isEmpty() || untagged.isEmpty()) << "ffmpeg could not make the tracks";

    const struct {
        const char *name;
        std::optional<QByteArray> whisper; // nothing: no whisper installed
        QString track;
        QString label;
        QString source;
    } cases[] = {
        {"lyrics in the file, no engine", std::nullopt, tagged, QStringLiteral("Lyrics from file"),
         QStringLiteral("embeddedUnverified")},
        {"lyrics heard at both ends", hearsTheLyrics, tagged, QStringLiteral("Lyrics from file · verified"),
         QStringLiteral("embeddedVerified")},
        {"another song heard", hearsAnotherSong, tagged, QStringLiteral("Lyrics may not match audio"),
         QStringLiteral("embeddedMismatch")},
        {"no lyrics in the file", hearsTheLyrics, untagged, QStringLiteral("Transcribed with Whisper"),
         QStringLiteral("transcribed")},
    };
    for (const auto &c : cases) {
        CliHome home;
        if (c.whisper)
            installWhisper(home, *c.whisper);
        else
            home.withoutSystemData(); // no speech model either: no engine at all
        EXPECT_EQ(home.run({QStringLiteral("engine")}).out.section(QLatin1Char('\n'), 0, 0),
                  c.whisper ? QStringLiteral("Local Whisper") : QStringLiteral("None"))
            << c.name;

        const CliResult imported = home.run({QStringLiteral("import"), c.track});
        EXPECT_EQ(imported.exitCode, 0) << c.name << ": " << imported.err.toStdString();
        EXPECT_EQ(imported.out.trimmed(), c.label) << c.name;
        EXPECT_TRUE(imported.err.contains(QStringLiteral("Reading audio"))) << c.name;
        EXPECT_FALSE(imported.err.contains(QStringLiteral(" @ 0x"))) << c.name << ": FFmpeg's own notes stay out";
        EXPECT_EQ(lyricsSourceOf(home), c.source) << c.name;
        EXPECT_EQ(home.savedProject().title, QStringLiteral("Tagged Title")) << c.name;
        EXPECT_TRUE(QDir(home.path(QString())).entryList({QStringLiteral("qv-*")}, QDir::AllEntries).isEmpty())
            << c.name << ": no clips or whisper folders left in TMPDIR";
    }
}

TEST(CliAudio, TimingProducesTheTranscriptAndSegmentsCanBeCorrected)
{
    QTemporaryDir tracks;
    const QString tagged = test::makeTaggedMp3(tracks.filePath(QStringLiteral("tagged.mp3")), 12, lyrics);
    ASSERT_FALSE(tagged.isEmpty());
    const CliHome home;

    const CliResult early = home.run({QStringLiteral("timing")});
    EXPECT_EQ(early.exitCode, 1);
    EXPECT_EQ(early.err.trimmed().split(QLatin1Char('\n')).last(),
              QStringLiteral("error: Import an audio track before running timing."));

    installWhisper(home, hearsTheLyrics);
    ASSERT_EQ(home.run({QStringLiteral("import"), tagged}).exitCode, 0);
    const CliResult timed = home.run({QStringLiteral("timing")});
    EXPECT_EQ(timed.exitCode, 0) << timed.err.toStdString();
    EXPECT_TRUE(timed.err.contains(QStringLiteral("Aligning timing")));
    // A tone holds no words to align: the lines are laid over what whisper heard.
    EXPECT_TRUE(timed.err.contains(proportionalFallbackNote)) << timed.err.toStdString();
    const Project project = home.savedProject();
    ASSERT_EQ(project.transcript.size(), 4);
    EXPECT_EQ(project.transcript.first().text, QStringLiteral("City lights are burning low"));
    EXPECT_EQ(project.transcript.last().end, 9.5);

    const CliResult corrected = home.run(
        {QStringLiteral("--json"), QStringLiteral("segment"), QStringLiteral("2"), QStringLiteral("--text"),
         QStringLiteral("Down the road"), QStringLiteral("--end"), QStringLiteral("6.25")});
    EXPECT_EQ(corrected.exitCode, 0);
    EXPECT_EQ(home.savedProject().transcript.at(1).text, QStringLiteral("Down the road"));
    EXPECT_EQ(home.savedProject().transcript.at(1).end, 6.25);

    const CliResult missing = home.run({QStringLiteral("segment"), QStringLiteral("9")});
    EXPECT_EQ(missing.exitCode, 1);
    EXPECT_EQ(missing.err.trimmed(), QStringLiteral("error: There is no line 9; the transcript has 4."));

    // Starts move within their neighbours, and every line moves with shift, or nothing does.
    const Project before = home.savedProject();
    const CliResult late = home.run({QStringLiteral("segment"), QStringLiteral("3"), QStringLiteral("--start"),
                                       QString::number(before.transcript.at(3).start + 0.5)});
    EXPECT_EQ(late.exitCode, 1);
    EXPECT_TRUE(late.err.startsWith(QStringLiteral("error: Line 3 cannot start after line 4"))) << late.err.toStdString();
    EXPECT_EQ(home.savedProject(), before);
    const double third = (before.transcript.at(1).start + before.transcript.at(2).start) / 2;
    ASSERT_EQ(home.run({QStringLiteral("segment"), QStringLiteral("3"), QStringLiteral("--start"), QString::number(third)}).exitCode, 0);
    EXPECT_DOUBLE_EQ(home.savedProject().transcript.at(2).start, third);
    const CliResult shifted = home.run({QStringLiteral("shift"), QStringLiteral("0.5")});
    EXPECT_EQ(shifted.exitCode, 0) << shifted.err.toStdString();
    EXPECT_EQ(shifted.out.trimmed().split(QLatin1Char('\n')).size(), 4) << "every line, as it now stands";
    EXPECT_DOUBLE_EQ(home.savedProject().transcript.at(0).start, before.transcript.at(0).start + 0.5);
    EXPECT_DOUBLE_EQ(home.savedProject().transcript.at(2).start, third + 0.5);
    EXPECT_EQ(home.run({QStringLiteral("shift"), QStringLiteral("soon")}).exitCode, 2);

    const CliResult edited = home.run({QStringLiteral("lyrics"), QStringLiteral("-")}, "New line one\n\nNew line two\n");
    EXPECT_EQ(edited.out.trimmed(), QStringLiteral("2 lines"));
    EXPECT_TRUE(home.savedProject().transcript.isEmpty()) << "edited lyrics need timing again";
    EXPECT_EQ(lyricsSourceOf(home), QStringLiteral("manual"));
}

TEST(CliAudio, WithoutWhisperTheBuiltInSpeechEngineTranscribesASongWithoutLyrics)
{
    QTemporaryDir folder;
    const QString wav = folder.filePath(QStringLiteral("spoken.wav"));
    const QString song = folder.filePath(QStringLiteral("spoken.mp3"));
    QProcess::execute(QStringLiteral("espeak-ng"), {QStringLiteral("-w"), wav,
                                                    QStringLiteral("city lights are burning low down the road we used to know")});
    QProcess::execute(QStringLiteral("ffmpeg"), {QStringLiteral("-v"), QStringLiteral("error"), QStringLiteral("-y"),
                                                 QStringLiteral("-i"), wav, song});
    ASSERT_TRUE(QFileInfo::exists(song)) << "espeak-ng or ffmpeg could not make the song";
    const CliHome home;

    EXPECT_EQ(home.run({QStringLiteral("engine")}).out.trimmed(),
              QStringLiteral("Built-in Speech\nWord aligner: Built-in Word Aligner"));
    const CliResult imported = home.run({QStringLiteral("import"), song});
    EXPECT_EQ(imported.exitCode, 0) << imported.err.toStdString();
    EXPECT_TRUE(imported.err.contains(QStringLiteral("Transcribing with Built-in Speech")));
    EXPECT_EQ(lyricsSourceOf(home), QStringLiteral("transcribed"));
    const Project project = home.savedProject();
    EXPECT_FALSE(project.transcript.isEmpty());
    EXPECT_FALSE(project.rawLyrics.trimmed().isEmpty());
}

namespace {

// The names are as awkward as a user's can be (blanks, both quotes, non-ASCII, a leading
// dash, a shell's special characters), and they pass through every process and file the road
// touches: whisper's command line, FFmpeg, the studio's references, the clips and the export.
TEST(CliRun, OneCommandTakesATrackToAVideoWhenTheFramesMayBeAcceptedUnseen)
{
    QTemporaryDir root;
    const QString tracks = root.filePath(QStringLiteral("-my \"tracks\" ünï 'x' $HOME;"));
    ASSERT_TRUE(QDir().mkpath(tracks));
    const QString trackName = QStringLiteral("-song \"Ünï\" it's & more.mp3");
    const QString tagged = test::makeTaggedMp3(tracks + QLatin1Char('/') + trackName, 12, lyrics);
    ASSERT_FALSE(tagged.isEmpty());
    CliHome home;
    home.timeout = std::chrono::minutes(3);
    home.workingDirectory = tracks; // the track is named relative to here, dash first
    installWhisper(home, hearsTheLyrics);

    const CliResult uncast = home.run({QStringLiteral("--offline"), QStringLiteral("run"), trackName});
    EXPECT_EQ(uncast.exitCode, 1);
    EXPECT_TRUE(uncast.err.contains(
        QStringLiteral("Add a character with a reference image before planning — the plan is built around it.")))
        << uncast.err.toStdString();

    QImage face(120, 160, QImage::Format_RGB32);
    face.fill(QColor(255, 103, 72));
    const QString image = tracks + QStringLiteral("/-face \"Mïa\" 'one'.png");
    face.save(image);
    const QString folder = tracks + QStringLiteral("/-videos \"out\" ü");
    const CliResult road = home.run({QStringLiteral("--offline"), QStringLiteral("run"), trackName, QStringLiteral("--character"),
                                     QStringLiteral("Mia"), QStringLiteral("--image"), image, QStringLiteral("--accept-all"),
                                     QStringLiteral("--to"), folder, QStringLiteral("--resolution"), QStringLiteral("720p")});
    ASSERT_EQ(road.exitCode, 0) << road.err.toStdString();
    for (const char *label : {"Reading audio", "Aligning timing", "Planning storyboard", "Rendering motion", "Exporting video"})
        EXPECT_TRUE(road.err.contains(QString::fromLatin1(label))) << label;
    const QString path = road.out.trimmed();
    EXPECT_TRUE(path.startsWith(folder)) << path.toStdString();
    EXPECT_GT(QFileInfo(path).size(), 0);
    const Project project = home.savedProject();
    EXPECT_EQ(project.audioPath, tagged);
    EXPECT_EQ(project.lyricsSource, LyricsSource::embeddedVerified) << "whisper was not reached through the name";
    EXPECT_TRUE(project.allChunksAccepted());
    ASSERT_EQ(project.characters.size(), 1);
    EXPECT_EQ(project.characters[0].referenceImagePaths, QStringList{image});
}

} // namespace
