// AudioTools on real files: tones made with the ffmpeg program, tagged with TagLib the way
// other taggers leave them, then read back and cut into clips.

#include "audio/AudioTools.h"
#include "store/BlockingWait.h"
#include "support/Fixtures.h"

#include <QDir>
#include <QProcess>
#include <QRandomGenerator>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QThread>

#include <taglib/aifffile.h>
#include <taglib/apetag.h>
#include <taglib/flacfile.h>
#include <taglib/id3v1tag.h>
#include <taglib/id3v2tag.h>
#include <taglib/infotag.h>
#include <taglib/mp4file.h>
#include <taglib/mpegfile.h>
#include <taglib/textidentificationframe.h>
#include <taglib/unsynchronizedlyricsframe.h>
#include <taglib/vorbisfile.h>
#include <taglib/wavfile.h>

#include <gtest/gtest.h>

using namespace quillvane;

namespace {

QString fixturePath(const QString &name)
{
    static QTemporaryDir folder;
    return folder.filePath(name);
}

QStringList words(const char *line) { return QString::fromLatin1(line).split(QLatin1Char(' ')); }

// Runs ffmpeg or ffprobe; the test fails when the program does not end cleanly. Returns what
// it printed.
QString runTool(const char *program, const QStringList &arguments)
{
    QProcess process;
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.start(QString::fromLatin1(program), QStringList{QStringLiteral("-hide_banner")} + arguments);
    const bool ended = process.waitForFinished(60000) && process.exitStatus() == QProcess::NormalExit;
    const QString output = QString::fromUtf8(process.readAll());
    EXPECT_TRUE(ended && process.exitCode() == 0) << program << " failed: " << output.toStdString();
    return output;
}

// Encoder options per format. The AIFF tone runs at 37.8 kHz, a rate AAC does not have, so a
// clip cut from it has to be resampled.
const std::pair<const char *, const char *> formats[] = {
    {"mp3", "-c:a libmp3lame"}, {"m4a", "-c:a aac"},       {"flac", "-c:a flac"},
    {"ogg", "-c:a libvorbis"},  {"wav", "-c:a pcm_s16le"}, {"aiff", "-c:a pcm_s16be -ar 37800"},
};

// A three-second 440 Hz tone, encoded once per run (the fixture folder is the run's own).
QString plainTone(const char *extension)
{
    const QString path = fixturePath(QStringLiteral("tone.") + QString::fromLatin1(extension));
    const auto format = std::find_if(std::begin(formats), std::end(formats),
                                     [&](const auto &f) { return qstrcmp(f.first, extension) == 0; });
    if (!QFile::exists(path))
        runTool("ffmpeg", words("-loglevel error -f lavfi -i sine=frequency=440:duration=3") + words(format->second) << path);
    return path;
}

// 45 seconds of stereo MP3 at 48 kHz: silence for 15 seconds, then a tone, so a clip's
// loudness tells which stretch of the song it came from.
QString silenceThenTone()
{
    const QString path = fixturePath(QStringLiteral("silence-then-tone.mp3"));
    if (!QFile::exists(path)) {
        runTool("ffmpeg", words("-loglevel error -f lavfi -i sine=frequency=440:duration=45:sample_rate=48000 "
                                "-af volume=enable='lt(t,15)':volume=0 -ac 2 -c:a libmp3lame")
                              << path);
    }
    return path;
}

QString fileWith(const QString &name, const QByteArray &bytes)
{
    const QString path = fixturePath(name);
    test::writeFile(path, bytes);
    return path;
}

QByteArray randomBytes()
{
    QByteArray bytes(64 * 1024, Qt::Uninitialized);
    QRandomGenerator::global()->fillRange(reinterpret_cast<quint32 *>(bytes.data()), bytes.size() / 4);
    return bytes;
}

// Loudest sample of the file in dB: about -21 for the tone, -91 for digital silence.
double peakDecibels(const QString &path)
{
    const QString report
        = runTool("ffmpeg", words("-nostats -i") << path << words("-af volumedetect -f null -"));
    const auto match = QRegularExpression(QStringLiteral("max_volume: (-?[0-9.]+) dB")).match(report);
    EXPECT_TRUE(match.hasMatch()) << report.toStdString();
    return match.captured(1).toDouble();
}

// ---- Tagging -------------------------------------------------------------------------------

enum class In { id3v2, ape, id3v1, xiph, mp4, info };

// One tag item. The key is an ID3v2 frame ID ("TIT2", "USLT" or "TXXX:<description>"), an MP4
// atom, a Vorbis comment or APE field name, or for ID3v1 and RIFF INFO "TITLE" or "ARTIST".
struct Item {
    In where;
    const char *key;
    const char *value;
};

TagLib::String utf8(const char *text) { return TagLib::String(text, TagLib::String::UTF8); }

void addToID3v2(TagLib::ID3v2::Tag *tag, const Item &item)
{
    const QByteArray key(item.key);
    if (key == "USLT") {
        auto *frame = new TagLib::ID3v2::UnsynchronizedLyricsFrame(TagLib::String::UTF8);
        frame->setText(utf8(item.value));
        tag->addFrame(frame);
    } else if (key.startsWith("TXXX:")) {
        tag->addFrame(new TagLib::ID3v2::UserTextIdentificationFrame(utf8(item.key + 5), TagLib::StringList(utf8(item.value))));
    } else {
        auto *frame = new TagLib::ID3v2::TextIdentificationFrame(item.key, TagLib::String::UTF8);
        frame->setText(utf8(item.value));
        tag->addFrame(frame);
    }
}

void setField(TagLib::Tag *tag, const Item &item)
{
    if (qstrcmp(item.key, "TITLE") == 0)
        tag->setTitle(utf8(item.value));
    else
        tag->setArtist(utf8(item.value));
}

// Writes exactly the given items; an MP3 keeps no tag it was not given and copies nothing
// between its tags.
void writeTags(const QString &path, const std::vector<Item> &items)
{
    const QByteArray name = QFile::encodeName(path);
    const auto each = [&](In where, const auto &apply) {
        for (const Item &item : items) {
            if (item.where == where)
                apply(item);
        }
    };
    const auto addXiph = [](TagLib::Ogg::XiphComment *xiph) {
        return [xiph](const Item &i) { xiph->addField(i.key, utf8(i.value), false); };
    };
    if (path.endsWith(QStringLiteral(".mp3"))) {
        TagLib::MPEG::File file(name.constData());
        each(In::id3v2, [&](const Item &i) { addToID3v2(file.ID3v2Tag(true), i); });
        each(In::ape, [&](const Item &i) { file.APETag(true)->addValue(i.key, utf8(i.value)); });
        each(In::id3v1, [&](const Item &i) { setField(file.ID3v1Tag(true), i); });
        const auto filled = [](const TagLib::Tag *tag) { return tag && !tag->isEmpty(); };
        const int tags = (filled(file.ID3v2Tag()) ? TagLib::MPEG::File::ID3v2 : 0)
            | (filled(file.APETag()) ? TagLib::MPEG::File::APE : 0) | (filled(file.ID3v1Tag()) ? TagLib::MPEG::File::ID3v1 : 0);
        ASSERT_TRUE(file.save(tags, TagLib::File::StripOthers, TagLib::ID3v2::v4, TagLib::File::DoNotDuplicate));
    } else if (path.endsWith(QStringLiteral(".m4a"))) {
        TagLib::MP4::File file(name.constData());
        each(In::mp4, [&](const Item &i) {
            file.tag()->setItem(TagLib::String(i.key, TagLib::String::Latin1), TagLib::StringList(utf8(i.value)));
        });
        ASSERT_TRUE(file.save());
    } else if (path.endsWith(QStringLiteral(".flac"))) {
        TagLib::FLAC::File file(name.constData());
        each(In::id3v2, [&](const Item &i) { addToID3v2(file.ID3v2Tag(true), i); });
        each(In::xiph, addXiph(file.xiphComment(true)));
        ASSERT_TRUE(file.save());
    } else if (path.endsWith(QStringLiteral(".ogg"))) {
        TagLib::Ogg::Vorbis::File file(name.constData());
        each(In::xiph, addXiph(file.tag()));
        ASSERT_TRUE(file.save());
    } else if (path.endsWith(QStringLiteral(".wav"))) {
        TagLib::RIFF::WAV::File file(name.constData());
        each(In::id3v2, [&](const Item &i) { addToID3v2(file.ID3v2Tag(), i); });
        each(In::info, [&](const Item &i) { setField(file.InfoTag(), i); });
        ASSERT_TRUE(file.save());
    } else {
        TagLib::RIFF::AIFF::File file(name.constData());
        each(In::id3v2, [&](const Item &i) { addToID3v2(file.tag(), i); });
        ASSERT_TRUE(file.save());
    }
}

std::optional<QString> text(const char *utf8Text)
{
    return utf8Text ? std::optional<QString>(QString::fromUtf8(utf8Text)) : std::nullopt;
}

// ---- Reading metadata ----------------------------------------------------------------------

TEST(AudioToolsMetadata, FindsTitleArtistAndLyricsInEveryFormatAndTagLayout)
{
    const char *sectionsOnly = "[Intro]\n[Chorus]\n";
    const struct {
        const char *name;
        const char *extension;
        std::vector<Item> items;
        const char *title; // nullptr: absent
        const char *artist;
        const char *lyrics;
    } cases[] = {
        {"untagged MP3", "mp3", {}, nullptr, nullptr, nullptr},
        {"MP3 ID3v2 title, artist and USLT", "mp3",
         {{In::id3v2, "TIT2", "Night Drive"}, {In::id3v2, "TPE1", "Ünïcødé Band"}, {In::id3v2, "USLT", "One\r\nTwo"}},
         "Night Drive", "Ünïcødé Band", "One\nTwo"},
        {"MP3 USLT wins over TXXX LYRICS", "mp3",
         {{In::id3v2, "TXXX:LYRICS", "from TXXX"}, {In::id3v2, "USLT", "from USLT"}}, nullptr, nullptr, "from USLT"},
        {"MP3 USLT of section tags only gives way to TXXX LYRICS", "mp3",
         {{In::id3v2, "USLT", sectionsOnly}, {In::id3v2, "TXXX:LYRICS", "[Verse 1]\nHello   world\n\n  [x] end\n"}},
         nullptr, nullptr, "Hello world\nend"},
        {"MP3 USLT of section tags only and nothing else", "mp3", {{In::id3v2, "USLT", sectionsOnly}}, nullptr,
         nullptr, nullptr},
        {"MP3 blank ID3v2 title is absent and keeps the ID3v1 title out", "mp3",
         {{In::id3v2, "TIT2", "   "}, {In::id3v2, "TPE1", "  Padded \n"}, {In::id3v1, "TITLE", "From ID3v1"}},
         nullptr, "Padded", nullptr},
        {"MP3 title missing from ID3v2 comes from APE before ID3v1", "mp3",
         {{In::id3v2, "TPE1", "ID3v2 Artist"}, {In::ape, "TITLE", "From APE"}, {In::id3v1, "TITLE", "From ID3v1"}},
         "From APE", "ID3v2 Artist", nullptr},
        {"MP3 with only an APE tag", "mp3", {{In::ape, "TITLE", "APE Title"}, {In::ape, "Lyrics", "APE lyrics"}},
         "APE Title", nullptr, "APE lyrics"},
        {"MP3 ID3v2 lyrics come before APE lyrics", "mp3",
         {{In::ape, "Lyrics", "from APE"}, {In::id3v2, "TXXX:Unsynced Lyrics", "from ID3v2"}}, nullptr, nullptr,
         "from ID3v2"},
        {"M4A title, artist and lyr item", "m4a",
         {{In::mp4, "\251nam", "M4A Title"}, {In::mp4, "\251ART", "M4A Artist"}, {In::mp4, "\251lyr", "[Chorus]\nLa la\tla"}},
         "M4A Title", "M4A Artist", "La la\tla"},
        {"M4A lyr of section tags only gives way to a free-form lyrics item", "m4a",
         {{In::mp4, "\251lyr", sectionsOnly}, {In::mp4, "----:com.apple.iTunes:LYRICS", "free-form"}}, nullptr, nullptr,
         "free-form"},
        {"FLAC Vorbis comments", "flac",
         {{In::xiph, "TITLE", "FLAC Title"}, {In::xiph, "ARTIST", "FLAC Artist"}, {In::xiph, "UNSYNCEDLYRICS", "flac"}},
         "FLAC Title", "FLAC Artist", "flac"},
        {"FLAC ID3v2 lyrics come before the Vorbis comment's", "flac",
         {{In::xiph, "LYRICS", "from Vorbis"}, {In::id3v2, "USLT", "from ID3v2"}}, nullptr, nullptr, "from ID3v2"},
        {"Ogg Vorbis comments", "ogg",
         {{In::xiph, "TITLE", "Ogg Title"}, {In::xiph, "ARTIST", "Ogg Artist"}, {In::xiph, "LYRICS", "ogg"}},
         "Ogg Title", "Ogg Artist", "ogg"},
        {"Ogg lyrics of section tags only, then blank ones", "ogg",
         {{In::xiph, "LYRICS", sectionsOnly}, {In::xiph, "UNSYNCEDLYRICS", " \t "}}, nullptr, nullptr, nullptr},
        {"WAV ID3v2 chunk", "wav",
         {{In::id3v2, "TIT2", "WAV Title"}, {In::id3v2, "TPE1", "WAV Artist"}, {In::id3v2, "USLT", "wav"}},
         "WAV Title", "WAV Artist", "wav"},
        {"WAV INFO chunk only", "wav", {{In::info, "TITLE", "INFO Title"}, {In::info, "ARTIST", "INFO Artist"}},
         "INFO Title", "INFO Artist", nullptr},
        {"AIFF ID3v2 chunk", "aiff",
         {{In::id3v2, "TIT2", "AIFF Title"}, {In::id3v2, "TPE1", "AIFF Artist"}, {In::id3v2, "USLT", "aiff"}},
         "AIFF Title", "AIFF Artist", "aiff"},
    };
    // The coroutine reads the same and resumes on the caller's thread.
    QThread *resumedOn = nullptr;
    const auto readLater = [&resumedOn](QString path) -> QCoro::Task<AudioMetadata> {
        AudioMetadata metadata = co_await AudioTools::readMetadata(path);
        resumedOn = QThread::currentThread();
        co_return metadata;
    };
    int copies = 0;
    for (const auto &c : cases) {
        const QString path = fixturePath(QStringLiteral("tagged-%1.%2").arg(++copies).arg(QLatin1String(c.extension)));
        ASSERT_TRUE(QFile::copy(plainTone(c.extension), path));
        writeTags(path, c.items);
        const AudioMetadata metadata = AudioTools::readMetadataNow(path);
        EXPECT_EQ(metadata.title, text(c.title)) << c.name;
        EXPECT_EQ(metadata.artist, text(c.artist)) << c.name;
        EXPECT_EQ(metadata.lyrics, text(c.lyrics)) << c.name;
        EXPECT_NEAR(metadata.duration, 3, 0.1) << c.name;
        EXPECT_EQ(blockingWait(readLater(path)), metadata) << c.name;
    }
    EXPECT_EQ(resumedOn, QThread::currentThread());
}

TEST(AudioToolsMetadata, AnythingUnreadableGivesEmptyMetadata)
{
    QDir().mkpath(fixturePath(QStringLiteral("folder.mp3")));
    for (const QString &path :
         {fixturePath(QStringLiteral("missing.mp3")), fixturePath(QStringLiteral("folder.mp3")),
          fileWith(QStringLiteral("empty.flac"), {}), fileWith(QStringLiteral("noise.mp3"), randomBytes()),
          fileWith(QStringLiteral("lyrics.txt"), QByteArray("[Chorus]\nLYRICS=la\n").repeated(200))})
        EXPECT_EQ(AudioTools::readMetadataNow(path), AudioMetadata{}) << path.toStdString();
}

// ---- Trimming ------------------------------------------------------------------------------

TEST(AudioToolsTrim, ClipsHoldTheStretchAskedFor)
{
    const struct {
        const char *name;
        QString source;
        double start;
        double duration;
        double expectedSeconds;
        bool loud; // the 45-second source is silent before 15 s
    } cases[] = {
        {"inside the silence", silenceThenTone(), 5, 5, 5, false},
        {"inside the tone", silenceThenTone(), 20, 5, 5, true},
        {"a negative start counts from the beginning", silenceThenTone(), -5, 2, 2, false},
        {"a range past the end stops at the end", silenceThenTone(), 40, 30, 5, true},
        {"AIFF at a rate AAC lacks", plainTone("aiff"), 1, 1.5, 1.5, true},
    };
    for (const auto &c : cases) {
        const QString clip = AudioTools::trimClipNow(c.source, c.start, c.duration);
        EXPECT_NEAR(AudioTools::readMetadataNow(clip).duration, c.expectedSeconds, 0.1) << c.name;
        EXPECT_EQ(runTool("ffprobe", words("-v error -show_entries stream=codec_name -of csv=p=0") << clip).trimmed(),
                  QStringLiteral("aac")) << c.name;
        const double peak = peakDecibels(clip);
        EXPECT_TRUE(c.loud ? peak > -30 : peak < -60) << c.name << ": peak " << peak << " dB";
        QFile::remove(clip);
    }
}

TEST(AudioToolsTrim, FailsWithTrimFailedAndLeavesNoClipBehind)
{
    const QString tone = plainTone("wav");
    const struct {
        const char *name;
        QString path;
        double start;
        double duration;
    } cases[] = {
        {"missing file", fixturePath(QStringLiteral("missing.wav")), 0, 1},
        {"random bytes", fileWith(QStringLiteral("noise.wav"), randomBytes()), 0, 1},
        {"zero duration", tone, 0, 0},
        {"negative duration", tone, 1, -1},
        {"a start after the end of the audio", tone, 10, 5},
    };
    const auto clips = [] { return QDir::temp().entryList({QStringLiteral("qv-trim-*")}, QDir::Files); };
    const QStringList before = clips();
    for (const auto &c : cases) {
        try {
            AudioTools::trimClipNow(c.path, c.start, c.duration);
            ADD_FAILURE() << c.name << ": no error";
        } catch (const AudioToolError &error) {
            EXPECT_EQ(error, AudioToolError::trimFailed()) << c.name;
        }
    }
    EXPECT_EQ(clips(), before);
}

} // namespace
