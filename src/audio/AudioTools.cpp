#include "audio/AudioTools.h"

extern "C" {
#include <libavutil/log.h>
}

#include "av/AudioClip.h"
#include "audio/Lyrics.h"
#include "audio/PcmDecoder.h"
#include "model/SyncedLyrics.h"
#include "av/OffThread.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <QUuid>

#include <taglib/aifffile.h>
#include <taglib/apetag.h>
#include <taglib/fileref.h>
#include <taglib/flacfile.h>
#include <taglib/id3v1tag.h>
#include <taglib/id3v2tag.h>
#include <taglib/infotag.h>
#include <taglib/mp4file.h>
#include <taglib/mpegfile.h>
#include <taglib/synchronizedlyricsframe.h>
#include <taglib/tpropertymap.h>
#include <taglib/unsynchronizedlyricsframe.h>
#include <taglib/wavfile.h>
#include <taglib/xiphcomment.h>

#include <vector>

namespace quillvane {

AudioToolError::AudioToolError(Case kind, const QString &description)
    : Error(description)
    , m_kind(kind)
{
}

AudioToolError AudioToolError::trimFailed()
{
    return {Case::trimFailed, QStringLiteral("Could not trim the audio clip for verification.")};
}

AudioToolError AudioToolError::notAudio(const QString &fileName)
{
    return {Case::notAudio, QStringLiteral("%1 is not an audio file Quillvane can read.").arg(fileName)};
}

namespace {

QString fromTagLib(const TagLib::String &text) { return QString::fromStdString(text.to8Bit(true)); }

// The first value stored under `key`; an empty string when the key is there without a
// value, and absent only when the key is missing, so a blank title still counts as found.
std::optional<QString> firstValue(const TagLib::PropertyMap &properties, const char *key)
{
    const auto found = properties.find(TagLib::String(key));
    if (found == properties.end())
        return std::nullopt;
    return found->second.isEmpty() ? QString() : fromTagLib(found->second.front());
}

// What the search looks at in one tag format: its items under TagLib's common keys (TITLE,
// ARTIST, ...) and its lyric candidates, best first.
struct FormatTags {
    TagLib::PropertyMap properties;
    std::vector<QString> lyrics;
    std::optional<QString> syncedLyrics; // a SYLT frame as LRC text
};

bool mentionsLyrics(const TagLib::String &key)
{
    return fromTagLib(key).contains(QStringLiteral("lyric"), Qt::CaseInsensitive);
}

// Every value under a key that mentions lyrics: a TXXX frame described LYRICS, a Vorbis
// UNSYNCEDLYRICS comment, an APE Lyrics item, ...
void addLyricKeyedValues(const TagLib::PropertyMap &properties, std::vector<QString> &candidates)
{
    for (const auto &[key, values] : properties) {
        if (!mentionsLyrics(key))
            continue;
        for (const TagLib::String &value : values)
            candidates.push_back(fromTagLib(value));
    }
}

FormatTags plainTags(TagLib::PropertyMap properties)
{
    FormatTags tags{std::move(properties), {}, {}};
    addLyricKeyedValues(tags.properties, tags.lyrics);
    return tags;
}

// The first USLT frame comes before the keyed items, which include the USLT frames again
// (TagLib files them under LYRICS); a second look at a rejected text rejects it again.
FormatTags id3v2Tags(const TagLib::ID3v2::Tag &tag)
{
    FormatTags tags{tag.properties(), {}, {}};
    for (const TagLib::ID3v2::Frame *found : tag.frameList("SYLT")) {
        const auto *frame = dynamic_cast<const TagLib::ID3v2::SynchronizedLyricsFrame *>(found);
        if (!frame || frame->timestampFormat() != TagLib::ID3v2::SynchronizedLyricsFrame::AbsoluteMilliseconds)
            continue;
        // Each entry becomes a stamped line; an entry of several lines keeps its first stamp.
        QString text;
        for (const auto &entry : frame->synchedText()) {
            const QString words = fromTagLib(entry.text).simplified();
            if (words.isEmpty())
                continue;
            text += QLatin1Char('[') + lrcTimestamp(entry.time / 1000.0) + QLatin1Char(']') + words + QLatin1Char('\n');
        }
        if (!text.isEmpty()) {
            tags.syncedLyrics = text;
            break;
        }
    }
    const TagLib::ID3v2::FrameList &frames = tag.frameList("USLT");
    if (!frames.isEmpty()) {
        if (const auto *frame = dynamic_cast<const TagLib::ID3v2::UnsynchronizedLyricsFrame *>(frames.front()))
            tags.lyrics.push_back(fromTagLib(frame->text()));
    }
    addLyricKeyedValues(tags.properties, tags.lyrics);
    return tags;
}

// The ©lyr item first, then the items whose atom name mentions lyrics: TagLib's common keys
// leave out free-form items such as "----:com.apple.iTunes:LYRICS", so the atoms are
// scanned themselves.
FormatTags mp4Tags(const TagLib::MP4::Tag &tag)
{
    FormatTags tags{tag.properties(), {}, {}};
    const TagLib::String lyricsAtom("\251lyr", TagLib::String::Latin1);
    const auto addValues = [&](const TagLib::MP4::Item &item) {
        for (const TagLib::String &value : item.toStringList())
            tags.lyrics.push_back(fromTagLib(value));
    };
    if (tag.contains(lyricsAtom))
        addValues(tag.item(lyricsAtom));
    for (const auto &[atom, item] : tag.itemMap()) {
        if (mentionsLyrics(atom))
            addValues(item);
    }
    return tags;
}

// Every tag format the file carries, always in the order ID3v2, APE, Xiph comment, MP4,
// RIFF INFO, ID3v1: the richer formats first, and ID3v1, whose fields are cut at 30
// characters, last.
std::vector<FormatTags> formatTagsOf(TagLib::File *file)
{
    TagLib::ID3v2::Tag *id3v2 = nullptr;
    TagLib::APE::Tag *ape = nullptr;
    TagLib::Ogg::XiphComment *xiph = nullptr;
    TagLib::MP4::Tag *mp4 = nullptr;
    TagLib::RIFF::Info::Tag *info = nullptr;
    TagLib::ID3v1::Tag *id3v1 = nullptr;

    if (auto *mpeg = dynamic_cast<TagLib::MPEG::File *>(file)) {
        id3v2 = mpeg->hasID3v2Tag() ? mpeg->ID3v2Tag() : nullptr;
        ape = mpeg->hasAPETag() ? mpeg->APETag() : nullptr;
        id3v1 = mpeg->hasID3v1Tag() ? mpeg->ID3v1Tag() : nullptr;
    } else if (auto *m4a = dynamic_cast<TagLib::MP4::File *>(file)) {
        mp4 = m4a->hasMP4Tag() ? m4a->tag() : nullptr;
    } else if (auto *flac = dynamic_cast<TagLib::FLAC::File *>(file)) {
        id3v2 = flac->hasID3v2Tag() ? flac->ID3v2Tag() : nullptr;
        xiph = flac->hasXiphComment() ? flac->xiphComment() : nullptr;
        id3v1 = flac->hasID3v1Tag() ? flac->ID3v1Tag() : nullptr;
    } else if (auto *wav = dynamic_cast<TagLib::RIFF::WAV::File *>(file)) {
        id3v2 = wav->hasID3v2Tag() ? wav->ID3v2Tag() : nullptr;
        info = wav->hasInfoTag() ? wav->InfoTag() : nullptr;
    } else if (auto *aiff = dynamic_cast<TagLib::RIFF::AIFF::File *>(file)) {
        id3v2 = aiff->hasID3v2Tag() ? aiff->tag() : nullptr;
    } else {
        // Ogg Vorbis, Opus, Speex and Ogg FLAC all keep their tags in a Xiph comment.
        xiph = dynamic_cast<TagLib::Ogg::XiphComment *>(file->tag());
    }

    std::vector<FormatTags> formats;
    if (id3v2)
        formats.push_back(id3v2Tags(*id3v2));
    if (ape)
        formats.push_back(plainTags(ape->properties()));
    if (xiph)
        formats.push_back(plainTags(xiph->properties()));
    if (mp4)
        formats.push_back(mp4Tags(*mp4));
    // INFO and ID3v1 have no key-value view of their own; the base class maps their fixed
    // fields (title, artist, ...) onto the common keys.
    if (info)
        formats.push_back(plainTags(info->TagLib::Tag::properties()));
    if (id3v1)
        formats.push_back(plainTags(id3v1->TagLib::Tag::properties()));
    return formats;
}

// The first candidate that still holds lyrics once cleaned: a frame of nothing but section
// tags such as [Chorus] gives way to the next one.
std::optional<QString> findLyrics(const FormatTags &tags)
{
    for (const QString &candidate : tags.lyrics) {
        if (candidate.isEmpty())
            continue;
        QString cleaned = cleanLyrics(candidate);
        if (!cleaned.trimmed().isEmpty())
            return cleaned;
    }
    return std::nullopt;
}

// A lyrics tag written as LRC: most of its lines carry a time stamp.
std::optional<QString> findSyncedLyrics(const FormatTags &tags)
{
    if (tags.syncedLyrics)
        return tags.syncedLyrics;
    static const QRegularExpression stamped(QStringLiteral("^\\s*\\[\\d{1,3}:\\d{1,2}([.:]\\d{1,3})?\\]"));
    for (const QString &candidate : tags.lyrics) {
        const QStringList lines = candidate.split(QRegularExpression(QStringLiteral("\\r\\n|\\r|\\n")), Qt::SkipEmptyParts);
        const auto stampedLines = std::count_if(lines.begin(), lines.end(),
                                                [](const QString &line) { return stamped.match(line).hasMatch(); });
        if (stampedLines > 0 && 2 * stampedLines >= lines.size())
            return candidate;
    }
    return std::nullopt;
}

std::optional<QString> trimmedOrAbsent(const std::optional<QString> &text)
{
    if (!text)
        return std::nullopt;
    QString trimmed = text->trimmed();
    return trimmed.isEmpty() ? std::nullopt : std::optional<QString>(std::move(trimmed));
}

AudioMetadata readTags(const QString &path)
{
    // Audio properties come from FFmpeg; TagLib only reads the tags.
    const TagLib::FileRef ref(QFile::encodeName(path).constData(), false);
    if (ref.isNull())
        return {};

    // The unified view is what the file shows under TagLib's common keys: for an MP3, the
    // first of its ID3v2, APE and ID3v1 tags that holds anything. A title found there, even
    // a blank one, ends the title search.
    const TagLib::PropertyMap unified = ref.file()->properties();
    std::optional<QString> title = firstValue(unified, "TITLE");
    std::optional<QString> artist = firstValue(unified, "ARTIST");
    std::optional<QString> lyrics;
    std::optional<QString> synced;
    for (const FormatTags &format : formatTagsOf(ref.file())) {
        if (!lyrics)
            lyrics = findLyrics(format);
        if (!synced)
            synced = findSyncedLyrics(format);
        if (!title)
            title = firstValue(format.properties, "TITLE");
        if (!artist)
            artist = firstValue(format.properties, "ARTIST");
    }
    return {trimmedOrAbsent(title), trimmedOrAbsent(artist), trimmedOrAbsent(lyrics), 0, synced};
}

} // namespace

namespace AudioTools {

AudioMetadata readMetadataNow(const QString &path)
{
    AudioMetadata metadata = readTags(path);
    metadata.duration = probeAudioDuration(path);
    return metadata;
}

QCoro::Task<AudioMetadata> readMetadata(QString path)
{
    auto reading = onWorkerThread([path] { return readMetadataNow(path); });
    co_return co_await reading;
}

void probeAudioNow(const QString &path)
{
    // A tenth of a second decoded: enough to tell a real track from a picture or a text file
    // with an audio name, and quick even for a long song, since decoding stops there.
    PcmDecoder decoder(path);
    if (decoder.failed() || decoder.read(PcmDecoder::sampleRate / 10).empty())
        throw AudioToolError::notAudio(QFileInfo(path).fileName());
}

QCoro::Task<> probeAudio(QString path)
{
    auto probing = onWorkerThread([path] { probeAudioNow(path); });
    co_await probing;
}

QString trimClipNow(const QString &path, double start, double duration)
{
    if (!(duration > 0))
        throw AudioToolError::trimFailed();
    const QString clip = QDir::tempPath() + QStringLiteral("/qv-trim-")
        + QUuid::createUuid().toString(QUuid::WithoutBraces).toUpper() + QStringLiteral(".m4a");
    if (!writeAacClip(path, clip, start > 0 ? start : 0, duration)) {
        // Only the caller could clean up a clip, and it never learns this one's name.
        QFile::remove(clip);
        throw AudioToolError::trimFailed();
    }
    return clip;
}

QCoro::Task<QString> trimClip(QString path, double start, double duration)
{
    auto trimming = onWorkerThread([path, start, duration] { return trimClipNow(path, start, duration); });
    co_return co_await trimming;
}

void silenceMediaLibraryLogs()
{
    av_log_set_level(AV_LOG_QUIET);
}

} // namespace AudioTools
} // namespace quillvane
