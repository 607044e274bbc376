#pragma once

// A still prepared once per clip for drawing in the encoder's own YUV 4:2:0 layout: the
// picture is laid over the fill colour, converted to BT.709 studio-range Y'CbCr as floats,
// and its chroma averaged down to half size. Every plane holds its value minus the fill's,
// so the resampler can blend partly covered edge pixels towards the fill with one weight.

#include "media/MotionGeometry.h"

#include <QImage>
#include <QString>

#include <optional>
#include <vector>

namespace quillvane {

struct FloatPlane {
    int width = 0;
    int height = 0;
    std::vector<float> samples; // row after row, no padding

    const float *row(int y) const { return samples.data() + size_t(y) * size_t(width); }
};

struct YuvColour {
    float y = 0;
    float cb = 0;
    float cr = 0;
};

// BT.709 studio range for components in 0...1.
YuvColour yuvFromRgb(double red, double green, double blue);

struct PreparedStill {
    int width = 0;  // of the picture
    int height = 0;
    YuvColour fill;
    FloatPlane luma;    // width x height
    FloatPlane blueDifference; // ceil(width/2) x ceil(height/2)
    FloatPlane redDifference;
};

// Decodes a PNG or JPEG: first by the file's contents with the image reader, then with the
// general loader over the file's bytes. Nothing when neither gives a picture.
std::optional<QImage> loadStill(const QString &path);

// What the still is about: the "Subject" text a painter wrote into the file ("x,y" for its centre,
// or "x,y,width,height" with its size, as fractions of the picture from its top-left corner);
// otherwise an estimate from the picture itself (where colour stands out from the picture's own
// average and where edges are, pulled toward the middle); for a flat picture, its middle.
SubjectFocus subjectOf(const QImage &image);

// Lays image over the fill colour (its alpha respected) and converts it as above.
PreparedStill prepareStill(const QImage &image, YuvColour fill);

} // namespace quillvane
