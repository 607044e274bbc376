#pragma once

// What a test can see of a written video by reading it back with FFmpeg.

#include <QByteArray>
#include <QList>
#include <QString>

#include <cstdint>
#include <vector>

namespace quillvane::test {

struct MeanColour {
    double y = 0, cb = 0, cr = 0;
};

struct LumaFrame {
    int width = 0, height = 0;
    std::vector<uint8_t> samples; // width * height, no padding
    uint8_t at(int x, int y) const { return samples[size_t(y) * size_t(width) + size_t(x)]; }
};

struct VideoFacts {
    bool opened = false;
    QByteArray majorBrand;      // of the file's ftyp box
    bool indexAtFront = false;  // moov before mdat
    int videoStreams = 0, audioStreams = 0;
    QString videoCodec, audioCodec;
    int width = 0, height = 0;
    QList<double> frameTimes;    // decoded presentation times in seconds, in output order
    QList<MeanColour> frameColours;
    QList<LumaFrame> luma;       // the luma planes of the frames asked for, in output order
    double videoEnd = 0;         // the video track's length, seconds
    double audioSeconds = 0;     // decoded audio samples / rate
    QByteArray firstVideoPacket;
};

VideoFacts inspectVideo(const QString &path, const QList<int> &lumaOfFrames = {});

} // namespace quillvane::test
