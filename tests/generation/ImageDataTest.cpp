// Reference images on their way to the service: shrunk to the upload size, never enlarged,
// always JPEG, and left out when they cannot be read.

#include "generation/FalClient.h"
#include "pipeline/GenerationOperations.h"
#include "store/BlockingWait.h"
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

TEST(ImageData, IsSentAsJpegShrunkToTheUploadSizeButNeverEnlarged)
{
    QTemporaryDir dir;
    const QSize cases[][2] = {{{3000, 1500}, {1024, 512}}, {{1000, 3000}, {341, 1024}}, {{640, 480}, {640, 480}}};
    for (const auto &c : cases) {
        const std::optional<QString> url = imageDataURL(writeImage(dir, QStringLiteral("ref.png"), c[0]));
        ASSERT_TRUE(url);
        EXPECT_EQ(jpegSize(*url), c[1]);
    }
}

TEST(ImageData, UnreadableFilesGiveNothing)
{
    QTemporaryDir dir;
    writeFile(dir.filePath(QStringLiteral("notes.png")), "just some text, not pixels");
    writeFile(dir.filePath(QStringLiteral("empty.jpg")), {});
    for (const QString &name : {QStringLiteral("missing.png"), QStringLiteral("notes.png"), QStringLiteral("empty.jpg")})
        EXPECT_FALSE(imageDataURL(dir.filePath(name))) << name.toStdString();
}

// An address on this computer never reaches another server: the project's file goes as its
// bytes, and without the file the step stops with a sentence.
TEST(ImageData, LoopbackPicturesTravelAsTheirBytesOrNotAtAll)
{
    QTemporaryDir dir;
    const QString kept = writeImage(dir, QStringLiteral("kept.png"), QSize(64, 48));
    const QString studio = QStringLiteral("http://127.0.0.1:41000/files/token/frame-1.png");
    const QUrl service(QStringLiteral("https://service.example"));
    const struct {
        const char *name;
        QString url;
        std::optional<QString> localPath;
        QUrl base;
        const char *expected; // "same", "data" or "refused"
    } cases[] = {
        {"a remote picture", QStringLiteral("https://cdn.example/a.png"), kept, service, "same"},
        {"the studio's own picture, to the studio", studio, kept, QUrl(QStringLiteral("http://127.0.0.1:41000")), "same"},
        {"a studio picture, to the service", studio, kept, service, "data"},
        {"an earlier studio's picture, to this studio", studio, kept, QUrl(QStringLiteral("http://127.0.0.1:42000")), "data"},
        {"a studio picture whose file is gone", studio, dir.filePath(QStringLiteral("gone.png")), service, "refused"},
        {"a studio picture with no file", QStringLiteral("http://localhost:41000/files/token/e.png"), std::nullopt, service, "refused"},
    };
    for (const auto &c : cases) {
        try {
            const QString sent = blockingWait(reachableImageURL(c.url, c.localPath, 1024, c.base));
            if (QByteArray(c.expected) == "same")
                EXPECT_EQ(sent, c.url) << c.name;
            else
                EXPECT_EQ(jpegSize(sent), QSize(64, 48)) << c.name << " (" << c.expected << ")";
        } catch (const Error &error) {
            EXPECT_EQ(QByteArray(c.expected), "refused") << c.name;
            EXPECT_TRUE(error.description().contains(QStringLiteral("no longer on this computer"))) << c.name;
        }
    }
}

} // namespace
