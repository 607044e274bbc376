#include "generation/FalClient.h"

#include <QBuffer>
#include <QImage>
#include <QImageWriter>

#include <algorithm>
#include <cmath>

namespace quillvane {

namespace {

// Reference images go up at the quality every upload in the application uses: small enough to
// send quickly, sharp enough for the service to pick up faces and lettering.
constexpr double referenceQuality = 0.82;

std::optional<QByteArray> jpegBytes(const QImage &image, double quality)
{
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    QImageWriter writer(&buffer, "jpeg");
    writer.setQuality(static_cast<int>(std::lround(quality * 100)));
    if (!writer.write(image))
        return std::nullopt;
    return bytes;
}

} // namespace

std::optional<QString> imageDataURL(const QString &path, int maxDimension, double quality)
{
    const QImage image(path);
    if (image.isNull() || image.width() < 1 || image.height() < 1)
        return std::nullopt;

    // Only ever shrunk: enlarging would send more bytes and no more detail.
    const double scale = std::min(double(maxDimension) / std::max(image.width(), image.height()), 1.0);
    const int width = static_cast<int>(image.width() * scale);
    const int height = static_cast<int>(image.height() * scale);
    if (width < 1 || height < 1)
        return std::nullopt;

    // Premultiplied, so transparent parts come out black in the JPEG rather than whatever
    // colour they happened to hold.
    QImage bitmap = image.convertToFormat(QImage::Format_RGBA8888_Premultiplied);
    if (bitmap.size() != QSize(width, height))
        bitmap = bitmap.scaled(width, height, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);

    const std::optional<QByteArray> jpeg = jpegBytes(bitmap, quality);
    if (!jpeg)
        return std::nullopt;
    return QStringLiteral("data:image/jpeg;base64,") + QString::fromLatin1(jpeg->toBase64());
}

QStringList imageDataURLs(const QStringList &paths, int maxDimension)
{
    QStringList urls;
    for (const QString &path : paths) {
        if (std::optional<QString> url = imageDataURL(path, maxDimension, referenceQuality))
            urls.append(*url);
    }
    return urls;
}

} // namespace quillvane
