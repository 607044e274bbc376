// Importing and timing a track through quillvane-cli, with a stand-in whisper program in the
// user's ~/.local/bin: a shell script that writes the JSON a real whisper would.

#include "pipeline/IntakeOperations.h"
#include "../audio/TaggedTrack.h"
#include "CliHome.h"
#include "media/VideoFacts.h"

#include <QDir>
#include <QFileInfo>
#include <QImage>

#include <gtest/gtest.h>

using namespace quillvane;
using quillvane::test::args;
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

QString lyricsSourceOf(const CliHome &home)
{
    return home.json({QStringLiteral("status")}).value(QStringLiteral("lyricsSource")).toString();
}

} // namespace

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
    // Without a whisper the built-in engines, whose model the program finds, are the ones in use.
    EXPECT_EQ(home.run({QStringLiteral("engine")}).out.trimmed(),
              QStringLiteral("Built-in Speech\nWord aligner: Built-in Word Aligner"));

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

    const CliResult corrected =
        home.run(args("--json segment 2 --end 6.25 --text") << QStringLiteral("Down the road"));
    EXPECT_EQ(corrected.exitCode, 0);
    EXPECT_EQ(home.savedProject().transcript.at(1).text, QStringLiteral("Down the road"));
    EXPECT_EQ(home.savedProject().transcript.at(1).end, 6.25);

    // A refused correction changes nothing.
    const Project before = home.savedProject();
    const CliResult late = home.run(args("segment 3 --start") << QString::number(before.transcript.at(3).start + 0.5));
    EXPECT_EQ(late.exitCode, 1);
    EXPECT_TRUE(late.err.startsWith(QStringLiteral("error: Line 3 cannot start after line 4"))) << late.err.toStdString();
    EXPECT_EQ(home.savedProject(), before);

    const CliResult edited = home.run(args("lyrics -"), "New line one\n\nNew line two\n");
    EXPECT_EQ(edited.out.trimmed(), QStringLiteral("2 lines"));
    EXPECT_TRUE(home.savedProject().transcript.isEmpty()) << "edited lyrics need timing again";
    EXPECT_EQ(lyricsSourceOf(home), QStringLiteral("manual"));
}

// The names are as awkward as a user's can be (blanks, both quotes, non-ASCII, a leading
// dash, a shell's special characters), and they pass through every process and file the road
// touches: whisper's command line, FFmpeg, the studio's references, the clips and the export.
// The offline studio is chosen once in the settings and used by every later command. The video
// is tall: its frames are painted, edited, moved and exported in that shape.
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
    ASSERT_EQ(home.run(args("settings --backend offline")).exitCode, 0);

    const CliResult uncast = home.run({QStringLiteral("run"), trackName});
    EXPECT_EQ(uncast.exitCode, 1);
    EXPECT_TRUE(uncast.err.contains(
        QStringLiteral("Add a character with a reference image before planning — the plan is built around it.")))
        << uncast.err.toStdString();

    QImage face(120, 160, QImage::Format_RGB32);
    face.fill(QColor(255, 103, 72));
    const QString image = tracks + QStringLiteral("/-face \"Mïa\" 'one'.png");
    face.save(image);
    const QString folder = tracks + QStringLiteral("/-videos \"out\" ü");
    const CliResult road = home.run(QStringList{QStringLiteral("run"), trackName} + args("--character Mia --accept-all --resolution 720p --shape 9:16")
                                    << QStringLiteral("--image") << image << QStringLiteral("--to") << folder);
    ASSERT_EQ(road.exitCode, 0) << road.err.toStdString();
    EXPECT_FALSE(road.err.contains(QStringLiteral(" @ 0x"))) << "FFmpeg's own notes stay out";
    for (const char *label : {"Reading audio", "Aligning timing", "Planning storyboard", "Rendering motion", "Exporting video"})
        EXPECT_TRUE(road.err.contains(QString::fromLatin1(label))) << label;
    const QString path = road.out.trimmed();
    EXPECT_TRUE(path.startsWith(folder)) << path.toStdString();
    const test::VideoFacts facts = test::inspectVideo(path);
    EXPECT_EQ(QSize(facts.width, facts.height), QSize(720, 1280));
    const Project project = home.savedProject();
    EXPECT_EQ(project.audioPath, tagged);
    EXPECT_EQ(project.lyricsSource, LyricsSource::embeddedVerified) << "whisper was not reached through the name";
    EXPECT_TRUE(project.allChunksAccepted(LyricsOnScreen::painted));
    ASSERT_EQ(project.characters.size(), 1);
    EXPECT_EQ(project.characters[0].referenceImagePaths, QStringList{image});
    ASSERT_TRUE(project.plan);
    for (const PlanElement &element : project.plan->elements)
        EXPECT_TRUE(QFileInfo::exists(element.imageLocalPath.value_or(QString()))) << element.id.toStdString();

    // Each command is a new process with a new studio: a frame painted by the last one can
    // still be edited, from the file the project holds.
    const CliResult edited = home.run({QStringLiteral("edit"), QStringLiteral("1"), QStringLiteral("make the sky sunset orange")});
    ASSERT_EQ(edited.exitCode, 0) << edited.err.toStdString();
    const StoryboardChunk first = home.savedProject().chunks.first();
    ASSERT_EQ(first.undoStack.size(), 1);
    const QImage before(first.undoStack.first().localPath);
    const QImage after(first.frame->localPath);
    ASSERT_EQ(after.size(), QSize(1080, 1920));
    ASSERT_EQ(before.size(), after.size());
    const QColor was = before.pixelColor(40, 40);
    const QColor now = after.pixelColor(40, 40);
    EXPECT_GT(now.red() - now.blue(), was.red() - was.blue()) << "the sunset tint warms the picture";
}
