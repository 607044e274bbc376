#include "media/ExportMuxer.h"

#include "av/Encoding.h"
#include "av/InputFiles.h"
#include "media/MediaErrors.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QUuid>

extern "C" {
#include <libavutil/dict.h>
}

#include <cstdio>

namespace quillvane {

ExportMuxer::ExportMuxer(const QString &outputPath, ExportContainer container)
    : m_outputPath(outputPath)
{
    ensureParentFolder(outputPath);
    const QFileInfo output(outputPath);
    m_temporaryPath = output.absolutePath() + QStringLiteral("/.") + output.fileName() + QLatin1Char('.')
        + QUuid::createUuid().toString(QUuid::Id128).left(8) + QStringLiteral(".partial");
    AVFormatContext *raw = nullptr;
    const char *format = container == ExportContainer::mov ? "mov" : "mp4";
    if (avformat_alloc_output_context2(&raw, nullptr, format, ffmpeg::fileName(m_temporaryPath).constData()) < 0)
        throw ExportError::sessionSetupFailed();
    m_output.reset(raw);
    m_audioPacket.reset(av_packet_alloc());
    if (!m_audioPacket)
        throw ExportError::sessionSetupFailed();
}

ExportMuxer::~ExportMuxer()
{
    if (m_started && !m_finished) {
        m_output.reset();
        QFile::remove(m_temporaryPath);
    }
}

void ExportMuxer::addCopiedVideo(const ClipInfo &first, AVRational timeBase)
{
    const ffmpeg::InputFile input = openMediaFile(first.path);
    const AVStream *source = input ? ffmpeg::bestStream(input.get(), AVMEDIA_TYPE_VIDEO) : nullptr;
    if (!source)
        throw ExportError::trackSetupFailed();
    m_video = avformat_new_stream(m_output.get(), nullptr);
    if (!m_video || avcodec_parameters_copy(m_video->codecpar, source->codecpar) < 0)
        throw ExportError::trackSetupFailed();
    m_video->codecpar->codec_tag = 0;
    m_video->time_base = timeBase;
    m_video->avg_frame_rate = first.frameRate;
    m_videoTimeBase = timeBase;
}

void ExportMuxer::addEncodedVideo(const AVCodecContext *encoder)
{
    m_video = avformat_new_stream(m_output.get(), nullptr);
    if (!m_video || avcodec_parameters_from_context(m_video->codecpar, encoder) < 0)
        throw ExportError::trackSetupFailed();
    m_video->time_base = encoder->time_base;
    m_video->avg_frame_rate = encoder->framerate;
    m_videoTimeBase = encoder->time_base;
}

void ExportMuxer::addAudio(const QString &aacFile)
{
    // An audio track that cannot be added leaves the video silent, as when there is none.
    ffmpeg::InputFile input = ffmpeg::openInput(aacFile);
    const AVStream *source = input ? ffmpeg::bestStream(input.get(), AVMEDIA_TYPE_AUDIO) : nullptr;
    if (!source)
        return;
    AVStream *audio = avformat_new_stream(m_output.get(), nullptr);
    if (!audio || avcodec_parameters_copy(audio->codecpar, source->codecpar) < 0)
        return;
    audio->codecpar->codec_tag = 0;
    audio->time_base = source->time_base;
    m_audio = audio;
    m_audioIndex = source->index;
    m_audioInput = std::move(input);
}

void ExportMuxer::start()
{
    if (avio_open(&m_output->pb, ffmpeg::fileName(m_temporaryPath).constData(), AVIO_FLAG_WRITE) < 0)
        throw ExportError::exportFailed(
            QStringLiteral("could not write to %1.").arg(QDir::toNativeSeparators(QFileInfo(m_outputPath).absolutePath())));
    m_started = true;
    AVDictionary *options = nullptr;
    // The index goes to the front so players can start before the whole file has arrived.
    av_dict_set(&options, "movflags", "+faststart", 0);
    const int status = avformat_write_header(m_output.get(), &options);
    av_dict_free(&options);
    if (status < 0)
        throw ExportError::sessionSetupFailed();
}

void ExportMuxer::write(AVPacket *packet)
{
    const int status = av_interleaved_write_frame(m_output.get(), packet);
    if (status < 0)
        throw ExportError::exportFailed(ffmpeg::errorText(status));
}

void ExportMuxer::writeVideo(AVPacket *packet, AVRational timeBase)
{
    av_packet_rescale_ts(packet, timeBase, m_video->time_base);
    packet->stream_index = m_video->index;
    packet->pos = -1;
    if (packet->pts != AV_NOPTS_VALUE)
        m_videoSeconds = std::max(m_videoSeconds, double(packet->pts + packet->duration) * av_q2d(m_video->time_base));
    write(packet);
}

void ExportMuxer::writeAudioUntil(double seconds)
{
    if (!m_audio)
        return;
    const AVRational sourceTimeBase = m_audioInput->streams[m_audioIndex]->time_base;
    for (;;) {
        if (!m_audioPending) {
            if (av_read_frame(m_audioInput.get(), m_audioPacket.get()) < 0)
                return;
            if (m_audioPacket->stream_index != m_audioIndex) {
                av_packet_unref(m_audioPacket.get());
                continue;
            }
            m_audioPending = true;
        }
        const int64_t stamp = m_audioPacket->pts != AV_NOPTS_VALUE ? m_audioPacket->pts : m_audioPacket->dts;
        if (stamp != AV_NOPTS_VALUE && double(stamp) * av_q2d(sourceTimeBase) >= seconds)
            return;
        av_packet_rescale_ts(m_audioPacket.get(), sourceTimeBase, m_audio->time_base);
        m_audioPacket->stream_index = m_audio->index;
        m_audioPacket->pos = -1;
        m_audioPending = false;
        write(m_audioPacket.get());
    }
}

void ExportMuxer::finish()
{
    int status = av_write_trailer(m_output.get());
    if (status >= 0)
        status = avio_closep(&m_output->pb);
    if (status < 0)
        throw ExportError::exportFailed(ffmpeg::errorText(status));
    // rename() replaces an earlier export in one step.
    if (std::rename(QFile::encodeName(m_temporaryPath).constData(), QFile::encodeName(m_outputPath).constData()) != 0)
        throw ExportError::exportFailed(QStringLiteral("could not replace %1.").arg(m_outputPath));
    m_finished = true;
}

} // namespace quillvane
