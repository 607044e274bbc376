// Reference images on their way to the service: shrunk to the upload size, never enlarged,
// always JPEG, and left out when they cannot be read.

#include "generation/FalClient.h"
#include "support/Fixtures.h"

#include <QImage>
#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace quillvane;
using namespace quillvane::test;

namespace {

const QString dataPrefix = QStringLiteral("data:image/jpeg;base64,");

QString writeImage(const QTemporaryDir &dir, const QString &name, QSize size)
{
    QImage image(size, QImage::Format_ARGB32);
    image.fill(QColor(200, 40, 90, 160));
    const QString path = dir.filePath(name);
    EXPECT_TRUE(image.save(path));
    return path;
}

// The JPEG inside a data URL; empty when the URL is not one.
QByteArray jpegOf(const QString &url)
{
    if (!url.startsWith(dataPrefix) || url.contains(QLatin1Char('\n')) || url.contains(QLatin1Char('\r')))
        return {};
    return QByteArray::fromBase64(url.mid(dataPrefix.size()).toLatin1(), QByteArray::AbortOnBase64DecodingErrors);
}

QSize jpegSize(const QString &url)
{
    const QByteArray jpeg = jpegOf(url);
    EXPECT_TRUE(jpeg.startsWith("\xff\xd8\xff")) << "not a JPEG";
    return QImage::fromData(jpeg, "JPEG").size();
}

struct SizeCase {
    friend void PrintTo(const SizeCase &c, std::ostream *os) { *os << c.name; }
    const char *name;
    QSize source;
    QSize sent;
};

const SizeCase sizeCases[] = {
    {"wide image shrinks to 1024 across", {3000, 1500}, {1024, 512}},
    {"tall image shrinks to 1024 high, width cut down", {1000, 3000}, {341, 1024}},
    {"small image stays as it is", {640, 480}, {640, 480}},
};

class ImageDataSize : public testing::TestWithParam<SizeCase> {};

TEST_P(ImageDataSize, IsSentAsJpegOfTheRightSize)
{
    QTemporaryDir dir;
    const QString path = writeImage(dir, QStringLiteral("ref.png"), GetParam().source);
    const std::optional<QString> url = imageDataURL(path);
    ASSERT_TRUE(url);
    EXPECT_EQ(jpegSize(*url), GetParam().sent);
}

INSTANTIATE_TEST_SUITE_P(Sizes, ImageDataSize, testing::ValuesIn(sizeCases),
                         [](const auto &info) { return testName(info.param.name); });

TEST(ImageData, UnreadableFilesGiveNothing)
{
    QTemporaryDir dir;
    writeFile(dir.filePath(QStringLiteral("notes.png")), "just some text, not pixels");
    writeFile(dir.filePath(QStringLiteral("empty.jpg")), {});
    for (const QString &name : {QStringLiteral("missing.png"), QStringLiteral("notes.png"), QStringLiteral("empty.jpg")})
        EXPECT_FALSE(imageDataURL(dir.filePath(name))) << name.toStdString();
}

} // namespace
