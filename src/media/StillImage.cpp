#include "media/StillImage.h"

#include <QFile>
#include <QImageReader>

#include <array>
#include <cmath>

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

std::optional<SubjectFocus> writtenSubject(const QImage &image)
{
    const QStringList parts = image.text(QStringLiteral("Subject")).split(QLatin1Char(','));
    if (parts.size() != 2 && parts.size() != 4)
        return std::nullopt;
    double values[4] = {0, 0, 0, 0};
    for (qsizetype i = 0; i < parts.size(); ++i) {
        bool ok = false;
        values[i] = parts[i].trimmed().toDouble(&ok);
        if (!ok || !(values[i] >= 0 && values[i] <= 1))
            return std::nullopt;
    }
    return SubjectFocus{.x = values[0], .y = values[1], .halfWidth = values[2] / 2, .halfHeight = values[3] / 2};
}

// The centre of interest of a 64-pixel copy: each pixel weighs by its colour's distance from the
// average colour plus its edge strength; the weighted centre is pulled a quarter of the way
// back to the middle, as a guess should not swing the picture far, and the weighted spread
// stands for the subject's reach.
SubjectFocus estimatedSubject(const QImage &image)
{
    const QImage small = image.scaled(64, 64, Qt::KeepAspectRatio, Qt::SmoothTransformation)
                             .convertToFormat(QImage::Format_RGBA8888_Premultiplied);
    const int width = small.width();
    const int height = small.height();
    std::vector<std::array<double, 3>> colours(size_t(width) * size_t(height));
    std::array<double, 3> mean{0, 0, 0};
    for (int y = 0; y < height; ++y) {
        const uchar *row = small.constScanLine(y);
        for (int x = 0; x < width; ++x)
            for (int c = 0; c < 3; ++c) {
                colours[size_t(y) * size_t(width) + size_t(x)][size_t(c)] = row[4 * x + c] / 255.0;
                mean[size_t(c)] += row[4 * x + c] / 255.0 / double(colours.size());
            }
    }
    const auto distance = [](const std::array<double, 3> &a, const std::array<double, 3> &b) {
        return std::sqrt((a[0] - b[0]) * (a[0] - b[0]) + (a[1] - b[1]) * (a[1] - b[1]) + (a[2] - b[2]) * (a[2] - b[2]));
    };
    double sum = 0, sumX = 0, sumY = 0, sumXX = 0, sumYY = 0;
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            const auto &here = colours[size_t(y) * size_t(width) + size_t(x)];
            const auto &right = colours[size_t(y) * size_t(width) + size_t(std::min(x + 1, width - 1))];
            const auto &below = colours[size_t(std::min(y + 1, height - 1)) * size_t(width) + size_t(x)];
            // Squared, so a small striking part outweighs a large plain background.
            const double standout = distance(here, mean) + distance(here, right) + distance(here, below);
            const double weight = standout * standout;
            const double u = (x + 0.5) / width;
            const double v = (y + 0.5) / height;
            sum += weight;
            sumX += weight * u;
            sumY += weight * v;
            sumXX += weight * u * u;
            sumYY += weight * v * v;
        }
    }
    if (!(sum > 1e-9 * double(colours.size())))
        return {};
    const double u = sumX / sum;
    const double v = sumY / sum;
    const double spreadX = std::sqrt(std::max(sumXX / sum - u * u, 0.0));
    const double spreadY = std::sqrt(std::max(sumYY / sum - v * v, 0.0));
    return {.x = 0.5 + 0.75 * (u - 0.5), .y = 0.5 + 0.75 * (v - 0.5), .halfWidth = spreadX, .halfHeight = spreadY};
}

} // namespace

SubjectFocus subjectOf(const QImage &image)
{
    if (const std::optional<SubjectFocus> written = writtenSubject(image))
        return *written;
    return estimatedSubject(image);
}

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
