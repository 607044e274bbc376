#include "media/StillImage.h"

#include <QFile>
#include <QImageReader>

namespace quillvane {

namespace {

constexpr double kr = 0.2126;
constexpr double kb = 0.0722;
constexpr double kg = 1 - kr - kb;

// Averages 2x2 blocks; an odd last row or column averages with itself.
FloatPlane halve(const FloatPlane &full)
{
    FloatPlane half;
    half.width = (full.width + 1) / 2;
    half.height = (full.height + 1) / 2;
    half.samples.resize(size_t(half.width) * size_t(half.height));
    for (int y = 0; y < half.height; ++y) {
        const float *top = full.row(2 * y);
        const float *bottom = full.row(std::min(2 * y + 1, full.height - 1));
        float *out = half.samples.data() + size_t(y) * size_t(half.width);
        for (int x = 0; x < half.width; ++x) {
            const int left = 2 * x;
            const int right = std::min(2 * x + 1, full.width - 1);
            out[x] = 0.25f * (top[left] + top[right] + bottom[left] + bottom[right]);
        }
    }
    return half;
}

} // namespace

YuvColour yuvFromRgb(double red, double green, double blue)
{
    const double luma = kr * red + kg * green + kb * blue;
    return {float(16 + 219 * luma), float(128 + 224 * (blue - luma) / (2 * (1 - kb))),
            float(128 + 224 * (red - luma) / (2 * (1 - kr)))};
}

std::optional<QImage> loadStill(const QString &path)
{
    QImageReader reader(path);
    reader.setDecideFormatFromContent(true);
    QImage image = reader.read();
    if (image.isNull()) {
        QFile file(path);
        if (file.open(QIODevice::ReadOnly))
            image = QImage::fromData(file.readAll());
    }
    if (image.isNull() || image.width() <= 0 || image.height() <= 0)
        return std::nullopt;
    return image;
}

PreparedStill prepareStill(const QImage &source, YuvColour fill)
{
    const QImage image = source.convertToFormat(QImage::Format_RGBA8888_Premultiplied);
    PreparedStill still;
    still.width = image.width();
    still.height = image.height();
    still.fill = fill;

    FloatPlane luma{still.width, still.height, {}};
    FloatPlane blue = luma;
    FloatPlane red = luma;
    const size_t count = size_t(still.width) * size_t(still.height);
    luma.samples.resize(count);
    blue.samples.resize(count);
    red.samples.resize(count);

    // The fill's own RGB, recovered from its Y'CbCr so the blend below is exact in Y'CbCr.
    const double fillLuma = (fill.y - 16) / 219.0;
    const double fillBlue = fillLuma + (fill.cb - 128) / 224.0 * 2 * (1 - kb);
    const double fillRed = fillLuma + (fill.cr - 128) / 224.0 * 2 * (1 - kr);
    const double fillGreen = (fillLuma - kr * fillRed - kb * fillBlue) / kg;

    for (int y = 0; y < still.height; ++y) {
        const uchar *pixels = image.constScanLine(y);
        for (int x = 0; x < still.width; ++x) {
            const uchar *px = pixels + 4 * x;
            const double uncovered = 1 - px[3] / 255.0;
            const YuvColour value = yuvFromRgb(px[0] / 255.0 + fillRed * uncovered, px[1] / 255.0 + fillGreen * uncovered,
                                               px[2] / 255.0 + fillBlue * uncovered);
            const size_t at = size_t(y) * size_t(still.width) + size_t(x);
            luma.samples[at] = value.y - fill.y;
            blue.samples[at] = value.cb - fill.cb;
            red.samples[at] = value.cr - fill.cr;
        }
    }
    still.luma = std::move(luma);
    still.blueDifference = halve(blue);
    still.redDifference = halve(red);
    return still;
}

} // namespace quillvane
