#include "media/ClipProbe.h"

#include "av/InputFiles.h"
#include "media/MediaErrors.h"

#include <QFileInfo>

#include <cmath>
#include <numeric>

namespace quillvane {

ffmpeg::InputFile openMediaFile(const QString &path, bool readStreams)
{
    ffmpeg::InputFile input = ffmpeg::openInput(path, ffmpeg::Probe::header);
    if (!input)
        return {};
    // QuickTime and MP4 headers say all the exporter needs; reading the streams to find out
    // more would decode frames, which costs more than copying a clip.
    const AVStream *video = ffmpeg::bestStream(input.get(), AVMEDIA_TYPE_VIDEO);
    const bool described = video && video->codecpar->width > 0 && video->time_base.num > 0
        && video->codecpar->extradata_size > 0;
    const bool audioOnly = !video && ffmpeg::bestStream(input.get(), AVMEDIA_TYPE_AUDIO);
    if ((readStreams || (!described && !audioOnly)) && avformat_find_stream_info(input.get(), nullptr) < 0)
        return {};
    return input;
}

std::optional<QString> clipKey(const QString &path)
{
    const ffmpeg::InputFile input = openMediaFile(path);
    if (!input || !ffmpeg::bestStream(input.get(), AVMEDIA_TYPE_VIDEO))
        return std::nullopt;
    const AVDictionaryEntry *entry = av_dict_get(input->metadata, "comment", nullptr, 0);
    if (!entry)
        return std::nullopt;
    return QString::fromUtf8(entry->value);
}

std::optional<ClipInfo> probeClip(const QString &path, bool readStreams)
{
    const ffmpeg::InputFile input = openMediaFile(path, readStreams);
    if (!input)
        throw ExportError::exportFailed(QStringLiteral("could not read the clip %1.").arg(path));
    AVFormatContext *raw = input.get();
    const AVStream *stream = ffmpeg::bestStream(raw, AVMEDIA_TYPE_VIDEO);
    if (!stream)
        return std::nullopt;
    const int index = stream->index;
    const AVCodecParameters *codec = stream->codecpar;

    ClipInfo clip;
    clip.path = path;
    clip.width = codec->width;
    clip.height = codec->height;
    clip.codecID = codec->codec_id;
    clip.pixelFormat = codec->format;
    clip.parameterSets = QByteArray(reinterpret_cast<const char *>(codec->extradata), codec->extradata_size);
    clip.timeBase = stream->time_base;
    clip.frameRate = stream->avg_frame_rate.num > 0 ? stream->avg_frame_rate : stream->r_frame_rate;
    if (stream->duration != AV_NOPTS_VALUE && stream->duration > 0)
        clip.duration = stream->duration;
    else if (raw->duration != AV_NOPTS_VALUE && raw->duration > 0)
        clip.duration = av_rescale_q(raw->duration, AVRational{1, AV_TIME_BASE}, stream->time_base);
    if (clip.width <= 0 || clip.height <= 0 || clip.timeBase.num <= 0 || clip.timeBase.den <= 0)
        throw ExportError::exportFailed(QStringLiteral("could not read the clip %1.").arg(path));
    if (clip.duration <= 0) {
        // A container that does not say how long it runs: the end of its last frame.
        const ffmpeg::Packet packet(av_packet_alloc());
        while (packet && av_read_frame(raw, packet.get()) >= 0) {
            if (packet->stream_index == index && packet->pts != AV_NOPTS_VALUE)
                clip.duration = std::max(clip.duration, packet->pts + std::max<int64_t>(packet->duration, 1));
            av_packet_unref(packet.get());
        }
    }
    return clip;
}

Size exportBox(ExportResolution resolution, VideoShape shape)
{
    const QSize frame = frameSize(shape, resolution == ExportResolution::p1440 ? ExportResolution::p1080 : resolution);
    return {frame.width(), frame.height()};
}

Size fitInside(Size source, Size box)
{
    const double scale = std::min(double(box.width) / source.width, double(box.height) / source.height);
    const auto even = [](double length) { return std::max(2, 2 * int(std::lround(length / 2))); };
    return {std::min(box.width, even(source.width * scale)), std::min(box.height, even(source.height * scale))};
}

AVRational commonTimeBase(const QList<ClipInfo> &clips)
{
    int64_t scale = 1;
    for (const ClipInfo &clip : clips) {
        // A time base n/d holds its stamps exactly in 1/d.
        scale = std::lcm(scale, int64_t(clip.timeBase.den));
        if (scale > std::numeric_limits<int>::max())
            return AVRational{1, 90000};
    }
    if (clips.size() == 1 || std::all_of(clips.begin(), clips.end(), [&](const ClipInfo &clip) {
            return av_cmp_q(clip.timeBase, clips.front().timeBase) == 0;
        }))
        return clips.front().timeBase;
    return AVRational{1, int(scale)};
}

bool canCopyVideo(const QList<ClipInfo> &clips, Size output)
{
    if (clips.isEmpty())
        return false;
    const ClipInfo &first = clips.front();
    // The parameter sets fix the pixel format, so a clip whose header leaves it out shares
    // the first clip's when its parameter sets are the same.
    return first.pixelFormat == AV_PIX_FMT_YUV420P && std::all_of(clips.begin(), clips.end(), [&](const ClipInfo &clip) {
        return clip.codecID == AV_CODEC_ID_H264
            && (clip.pixelFormat == AV_PIX_FMT_YUV420P || clip.pixelFormat == AV_PIX_FMT_NONE)
            && Size{clip.width, clip.height} == output && clip.parameterSets == first.parameterSets
            && !clip.parameterSets.isEmpty() && av_cmp_q(clip.timeBase, first.timeBase) == 0;
    });
}

} // namespace quillvane
