#include "ScriptedTranscriber.h"
#include "pipeline/IntakeOperations.h"
#include "audio/AudioTools.h"
#include "audio/SpeechTranscriber.h"
#include "audio/SystemTranscriber.h"
#include "audio/TranscriptionError.h"
#include "store/BlockingWait.h"
#include "support/Fixtures.h"

#include "TaggedTrack.h"

#include <QDir>
#include <QFileInfo>

#include <taglib/synchronizedlyricsframe.h>

#include <functional>

#include <gtest/gtest.h>

using namespace quillvane;

namespace {

const QString lyrics = QStringLiteral("City lights are burning low\nDown the road we used to know\n"
                                      "Hold my hand and don't let go\nWe are letters in the snow");

QStringList leftoverClips()
{
    return QDir(QDir::tempPath()).entryList({QStringLiteral("qv-trim-*")}, QDir::Files);
}

// The store's project before the import: a title, old lyrics, a transcript and a chunk.
Project earlierProject()
{
    Project project;
    project.title = QStringLiteral("Earlier title");
    project.artist = QStringLiteral("Earlier artist");
    project.rawLyrics = QStringLiteral("old lyrics");
    project.lyricsSource = LyricsSource::manual;
    project.transcript = {TranscriptSegment{QUuid::createUuid(), QStringLiteral("old"), 0, 1, {}}};
    project.chunks = {StoryboardChunk{}};
    return project;
}

QString fixturePath(const QString &name)
{
    static QTemporaryDir folder;
    return folder.filePath(name);
}

// Tagged tracks made once per run; empty when ffmpeg could not make them.
const QString &withLyrics()
{
    static const QString path = test::makeTaggedMp3(fixturePath(QStringLiteral("with lyrics.mp3")), 45, lyrics);
    return path;
}

const QString &withoutLyrics()
{
    static const QString path = test::makeTaggedMp3(fixturePath(QStringLiteral("no lyrics.mp3")), 3, std::nullopt);
    return path;
}

std::shared_ptr<Transcriber> noEngine()
{
    auto missing = std::make_shared<test::ScriptedTranscriber>();
    missing->available = false;
    return std::make_shared<SystemTranscriber>(missing, missing);
}

class AudioImport : public testing::Test {
protected:
    ProjectStore &storeWith(std::shared_ptr<Transcriber> transcriber)
    {
        store = std::make_unique<ProjectStore>(library.library(), earlierProject(),
                                               PipelineServices{std::move(transcriber), {}, {}, {}, {}, {}});
        return *store;
    }

    test::TempLibrary library;
    std::unique_ptr<ProjectStore> store;
};

} // namespace

// A failed check keeps the file's lyrics and the earlier source; the clips go however it ends.
TEST_F(AudioImport, EmbeddedLyricsAreCheckedAgainstBothEndsOfTheTrack)
{
    ASSERT_FALSE(withLyrics().isEmpty()) << "ffmpeg could not make the fixture";
    const QString firstWords = QStringLiteral("city lights are burning low down"); // 6 of the first 12
    const QString lastWords = QStringLiteral("we are letters in the snow"); // 6 of the last 12
    const struct {
        const char *name;
        QString headHeard;
        std::optional<QString> tailHeard; // nullopt: hearing the tail fails
        LyricsSource expected;
        std::optional<QString> error;
    } cases[] = {
        {"both ends heard", firstWords, lastWords, LyricsSource::embeddedVerified, {}},
        {"the tail is another song", firstWords, QStringLiteral("something else entirely"),
         LyricsSource::embeddedMismatch, {}},
        {"nothing heard", QString(), QString(), LyricsSource::embeddedMismatch, {}},
        {"hearing the tail fails", firstWords, std::nullopt, LyricsSource::manual,
         QStringLiteral("Transcription failed: the tail failed")},
    };
    for (const auto &c : cases) {
        auto engine = std::make_shared<test::ScriptedTranscriber>();
        // A raw pointer: the engine owns this function, and holding itself would never be freed.
        // Both ends may be heard at once, so each answer goes by which clip was asked first.
        engine->respond = [&c, calls = &engine->calls](const QString &path) {
            if (calls->indexOf(path) == 0)
                return TranscriptionResult{c.headHeard, {}};
            if (!c.tailHeard)
                throw TranscriptionError::failed(QStringLiteral("the tail failed"));
            return TranscriptionResult{*c.tailHeard, {}};
        };
        ProjectStore &s = storeWith(engine);
        blockingWait(startImport(s, withLyrics()));

        EXPECT_EQ(s.session().lastError(), c.error) << c.name;
        EXPECT_EQ(s.project().lyricsSource, c.expected) << c.name;
        EXPECT_EQ(s.project().rawLyrics, lyrics) << c.name;
        EXPECT_EQ(s.project().title, QStringLiteral("Tagged Title")) << c.name;
        EXPECT_EQ(s.project().artist, QStringLiteral("Earlier artist")) << c.name << ": untagged fields are kept";
        EXPECT_EQ(s.project().audioPath, withLyrics()) << c.name;
        EXPECT_TRUE(s.project().transcript.isEmpty() && s.project().chunks.isEmpty()) << c.name;
        ASSERT_EQ(engine->calls.size(), 2) << c.name << ": the head clip, then the tail clip";
        EXPECT_TRUE(engine->filesExisted.at(0) && engine->filesExisted.at(1)) << c.name;
        EXPECT_NE(engine->calls.at(0), withLyrics()) << c.name << ": clips, not the whole track";
        EXPECT_TRUE(leftoverClips().isEmpty()) << c.name << ": clips are deleted";
    }
}

TEST_F(AudioImport, ATrackWithoutLyricsIsTranscribedIntoLyricsAndTranscript)
{
    ASSERT_FALSE(withoutLyrics().isEmpty());
    auto engine = std::make_shared<test::ScriptedTranscriber>();
    engine->respond = [](const QString &) {
        return TranscriptionResult{QStringLiteral("all of it"),
                                   {{QStringLiteral(" City lights "), 0, 2.5},
                                    {QStringLiteral("   "), 2.5, 3},
                                    {QStringLiteral("burning low"), 3, 5}}};
    };
    ProjectStore &s = storeWith(engine);
    blockingWait(startImport(s, withoutLyrics()));

    EXPECT_FALSE(s.session().lastError());
    EXPECT_EQ(s.project().lyricsSource, LyricsSource::transcribed);
    EXPECT_EQ(s.project().rawLyrics, QStringLiteral(" City lights \n   \nburning low")) << "chunk texts as delivered";
    ASSERT_EQ(s.project().transcript.size(), 2);
    EXPECT_EQ(s.project().transcript.at(0).text, QStringLiteral("City lights"));
    EXPECT_EQ(engine->calls, QStringList{withoutLyrics()});
}

// A file that is not a track is refused before anything of the project changes, with a
// sentence that names it.
TEST_F(AudioImport, FilesThatAreNotTracksAreRefusedAndChangeNothing)
{
    const QString text = fixturePath(QStringLiteral("notes.mp3"));
    test::writeFile(text, "this is not audio at all");
    const QString empty = fixturePath(QStringLiteral("zero bytes.mp3"));
    test::writeFile(empty, {});
    const QString picture = fixturePath(QStringLiteral("cover.mp3"));
    // The signature and header of a PNG: FFmpeg takes it for a picture.
    test::writeFile(picture, QByteArray::fromHex("89504e470d0a1a0a0000000d4948445200000010000000100806000000"));
    for (const QString &path : {text, fixturePath(QStringLiteral("gone.mp3")), empty, picture}) {
        SCOPED_TRACE(path.toStdString());
        ProjectStore &s = storeWith(std::make_shared<SpeechTranscriber>());
        const Project before = s.project();
        blockingWait(startImport(s, path));

        EXPECT_EQ(s.session().lastError(), AudioToolError::notAudio(QFileInfo(path).fileName()).description());
        EXPECT_FALSE(s.session().runningTask());
        EXPECT_EQ(s.project(), before);
    }
}

// A track that is read but whose lyrics step fails keeps what the import had done so far.
TEST_F(AudioImport, AFailedTranscriptionKeepsTheTrackAndThePartsNotReached)
{
    auto engine = std::make_shared<test::ScriptedTranscriber>();
    engine->respond = [](const QString &) -> TranscriptionResult {
        throw TranscriptionError::failed(QStringLiteral("Whisper produced no output."));
    };
    ProjectStore &s = storeWith(engine);
    const Project before = s.project();
    blockingWait(startImport(s, withoutLyrics()));

    EXPECT_EQ(s.session().lastError(), QStringLiteral("Transcription failed: Whisper produced no output."));
    EXPECT_EQ(s.project().audioPath, QFileInfo(withoutLyrics()).absoluteFilePath());
    EXPECT_TRUE(s.project().transcript.isEmpty() && s.project().chunks.isEmpty());
    EXPECT_EQ(s.project().rawLyrics, before.rawLyrics);
    EXPECT_EQ(s.project().lyricsSource, before.lyricsSource);
    EXPECT_EQ(s.project().updatedAt, before.updatedAt);
}

// A tag can hold anything: ten megabytes of lyrics are taken in whole and saved whole.
TEST_F(AudioImport, TenMegabytesOfLyricsAreTakenAndSaved)
{
    QString huge;
    for (int i = 0; huge.size() < 10'000'000; ++i)
        huge += QStringLiteral("Line %1 of a song that never seems to end at all, la la la\n").arg(i);
    const QString track = test::makeTaggedMp3(fixturePath(QStringLiteral("huge lyrics.mp3")), 2, huge);
    ASSERT_FALSE(track.isEmpty());
    ProjectStore &s = storeWith(noEngine());
    blockingWait(startImport(s, track));

    ASSERT_EQ(s.session().lastError(), std::nullopt);
    EXPECT_EQ(s.project().lyricsSource, LyricsSource::embeddedUnverified);
    EXPECT_EQ(s.project().rawLyrics, huge.trimmed());
    s.document().flushPendingSave();
    EXPECT_EQ(library.library().loadLastProject(), s.project());
}

// Timed lyrics written the ways players and taggers write them: each becomes the transcript
// exactly, with no engine to hear it, and the chip says where it came from.
TEST_F(AudioImport, TimedLyricsBecomeTheTranscriptAsTheyStand)
{
    const QString lrc = QStringLiteral("[ar:The Band]\n[offset:+500]\n[00:04.50]Down the road\n"
                                       "[00:01.50][00:09.00]City lights\nno stamp here\n[00:07.25]Hold my hand\n");
    // After the offset (half a second sooner), in time order, the chorus at both its stamps.
    const QList<std::pair<double, QString>> lrcLines{{1.0, QStringLiteral("City lights")},
                                                     {4.0, QStringLiteral("Down the road")},
                                                     {6.75, QStringLiteral("Hold my hand")},
                                                     {8.5, QStringLiteral("City lights")}};
    const auto withSylt = [](TagLib::ID3v2::Tag &tag) {
        auto *frame = new TagLib::ID3v2::SynchronizedLyricsFrame(TagLib::String::UTF8);
        frame->setTimestampFormat(TagLib::ID3v2::SynchronizedLyricsFrame::AbsoluteMilliseconds);
        TagLib::ID3v2::SynchronizedLyricsFrame::SynchedTextList entries;
        for (const auto &[time, text] : {std::pair{1000u, "City lights"}, std::pair{4000u, "Down the road"},
                                          std::pair{6750u, "Hold my hand"}, std::pair{8500u, "City lights"}})
            entries.append(TagLib::ID3v2::SynchronizedLyricsFrame::SynchedText(time, TagLib::String(text)));
        frame->setSynchedText(entries);
        tag.addFrame(frame);
    };
    const QString plain = QStringLiteral("City lights\nDown the road");
    const struct {
        const char *name;
        std::optional<QString> lyricsTag;
        std::function<void(TagLib::ID3v2::Tag &)> moreTags;
        std::optional<QString> lrcFile; // written beside the track as NAME.lrc
        LyricsSource expected;
        QList<std::pair<double, QString>> lines; // empty: not timed, the usual import
        QList<double> firstLineWords;
    } cases[] = {
        {"an .lrc file beside the track", plain, {}, lrc, LyricsSource::syncedFile, lrcLines, {}},
        {"a lyrics tag written as LRC", lrc, {}, {}, LyricsSource::syncedTag, lrcLines, {}},
        {"a SYLT frame", plain, withSylt, {}, LyricsSource::syncedTag, lrcLines, {}},
        {"enhanced LRC gives word times", {}, {},
         QStringLiteral("[00:02.00]<00:02.00>City <00:02.60>lights\n[00:05.00]<00:05.10>Down <00:05.40>the <00:05.90>road"),
         LyricsSource::syncedFile,
         {{2.0, QStringLiteral("City lights")}, {5.0, QStringLiteral("Down the road")}},
         {2.0, 2.6}},
        {"an .lrc file without usable times", plain, {}, QStringLiteral("[ar:x]\njust words\n[99:xx]bad"),
         LyricsSource::embeddedUnverified, {}, {}},
    };
    int round = 0;
    for (const auto &c : cases) {
        const QString track = fixturePath(QStringLiteral("timed %1.mp3").arg(++round));
        ASSERT_FALSE(test::makeTaggedMp3(track, 12, c.lyricsTag).isEmpty()) << c.name;
        if (c.moreTags) {
            TagLib::MPEG::File file(QFile::encodeName(track).constData());
            c.moreTags(*file.ID3v2Tag(true));
            file.save();
        }
        if (c.lrcFile)
            test::writeFile(fixturePath(QStringLiteral("timed %1.LRC").arg(round)), c.lrcFile->toUtf8());
        ProjectStore &s = storeWith(noEngine());
        blockingWait(startImport(s, track));

        EXPECT_FALSE(s.session().lastError()) << c.name << ": " << s.session().lastError().value_or(QString()).toStdString();
        EXPECT_EQ(s.project().lyricsSource, c.expected) << c.name;
        const QList<TranscriptSegment> &transcript = s.project().transcript;
        ASSERT_EQ(transcript.size(), c.lines.size()) << c.name;
        QStringList texts;
        for (qsizetype i = 0; i < transcript.size(); ++i) {
            EXPECT_NEAR(transcript[i].start, c.lines[i].first, 0.001) << c.name << " line " << i;
            EXPECT_EQ(transcript[i].text, c.lines[i].second) << c.name << " line " << i;
            const double end = i + 1 < transcript.size() ? c.lines[i + 1].first : s.project().audioDuration;
            EXPECT_NEAR(transcript[i].end, end, 0.05) << c.name << " line " << i << " ends where the next begins";
            texts << transcript[i].text;
        }
        if (!c.lines.isEmpty()) {
            EXPECT_EQ(s.project().rawLyrics, texts.join(u'\n')) << c.name << ": the lyrics are the timed lines";
            QList<double> wordStarts;
            for (const TimedWord &word : transcript.first().words)
                wordStarts << word.start;
            EXPECT_EQ(wordStarts, c.firstLineWords) << c.name;
        }
    }
}
