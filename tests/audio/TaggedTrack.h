#pragma once

// Real tagged tracks for tests: a tone encoded by ffmpeg, tags written by TagLib.

#include <QFile>
#include <QProcess>
#include <QString>

#include <taglib/id3v2tag.h>
#include <taglib/mpegfile.h>
#include <taglib/unsynchronizedlyricsframe.h>

#include <optional>

namespace quillvane::test {

// An MP3 of `seconds` of tone titled "Tagged Title", with `lyrics` in an ID3v2 USLT frame
// when given. Returns the path, or an empty string when ffmpeg failed.
inline QString makeTaggedMp3(const QString &path, double seconds, const std::optional<QString> &lyrics)
{
    QProcess ffmpeg;
    ffmpeg.start(QStringLiteral("ffmpeg"), QStringLiteral("-v error -y -f lavfi -i sine=frequency=330:duration=%1 -c:a libmp3lame")
                                               .arg(seconds).split(QLatin1Char(' ')) << path);
    if (!ffmpeg.waitForFinished(30000) || ffmpeg.exitCode() != 0)
        return {};
    TagLib::MPEG::File file(QFile::encodeName(path).constData());
    TagLib::ID3v2::Tag *tag = file.ID3v2Tag(true);
    tag->setTitle(TagLib::String("Tagged Title", TagLib::String::UTF8));
    if (lyrics) {
        auto *frame = new TagLib::ID3v2::UnsynchronizedLyricsFrame(TagLib::String::UTF8);
        frame->setText(TagLib::String(lyrics->toStdString(), TagLib::String::UTF8));
        tag->addFrame(frame);
    }
    file.save();
    return path;
}

} // namespace quillvane::test
