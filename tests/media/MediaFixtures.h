#pragma once

// Real media for the motion and export tests: stills painted by Qt, clips rendered by the
// renderer itself, and a tone encoded by the ffmpeg program.

#include "media/FfmpegMotionRenderer.h"
#include "media/StillImage.h"

#include <QColor>
#include <QImage>
#include <QProcess>
#include <QTemporaryDir>

namespace quillvane::test {

inline QString solidStill(const QTemporaryDir &dir, const QString &name, QColor colour, int width = 64, int height = 36)
{
    QImage image(width, height, QImage::Format_ARGB32);
    image.fill(colour);
    const QString path = dir.filePath(name);
    image.save(path);
    return path;
}

inline DepthFlowSettings shortMotion(double duration, qint64 fps)
{
    return DepthFlowSettings{.durationSeconds = duration, .fps = fps};
}

// A clip of one colour, `frames` frames at 10 fps.
inline QString solidClip(const QTemporaryDir &dir, const QString &name, QColor colour, int frames, int width = 1920,
                         int height = 1080)
{
    const QString clip = dir.filePath(name + QStringLiteral(".mov"));
    FfmpegMotionRenderer(width, height)
        .renderNow(solidStill(dir, name + QStringLiteral(".png"), colour), shortMotion(frames / 10.0, 10), clip, {}, {});
    return clip;
}

// A stereo 440 Hz tone of the given length as MP3.
inline QString tone(const QTemporaryDir &dir, double seconds)
{
    const QString path = dir.filePath(QStringLiteral("tone-%1.mp3").arg(seconds));
    QProcess ffmpeg;
    ffmpeg.start(QStringLiteral("ffmpeg"), QStringLiteral("-v error -y -f lavfi -i sine=frequency=440:duration=%1 -ac 2")
                                               .arg(seconds).split(QLatin1Char(' ')) << path);
    ffmpeg.waitForFinished(30000);
    return ffmpeg.exitCode() == 0 ? path : QString();
}

// The mean Y'CbCr a solid colour becomes.
inline YuvColour expectedColour(QColor colour)
{
    return yuvFromRgb(colour.redF(), colour.greenF(), colour.blueF());
}

} // namespace quillvane::test
