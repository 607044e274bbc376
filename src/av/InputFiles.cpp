#include "av/InputFiles.h"

#include <QFile>
#include <QFileInfo>

namespace quillvane::ffmpeg {

QByteArray fileName(const QString &path)
{
    return QFile::encodeName(QFileInfo(path).absoluteFilePath());
}

InputFile openInput(const QString &path, Probe probe)
{
    AVFormatContext *raw = nullptr;
    // On failure avformat_open_input frees the context itself.
    if (avformat_open_input(&raw, fileName(path).constData(), nullptr, nullptr) < 0)
        return {};
    InputFile input(raw);
    if (probe == Probe::streams && avformat_find_stream_info(raw, nullptr) < 0)
        return {};
    return input;
}

AVStream *bestStream(AVFormatContext *input, AVMediaType type)
{
    const int index = av_find_best_stream(input, type, -1, -1, nullptr, 0);
    return index < 0 ? nullptr : input->streams[index];
}

} // namespace quillvane::ffmpeg
