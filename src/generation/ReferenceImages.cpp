#include "generation/ReferenceImages.h"

#include "generation/FalClient.h"

#include <QCoro/QCoroFuture>
#include <QFileInfo>
#include <QImageReader>
#include <QUrl>
#include <QtConcurrent/QtConcurrentRun>

namespace quillvane {

ImageError ImageError::unreadable(const QString &fileName)
{
    return ImageError(QStringLiteral("%1 is not an image Quillvane can read.").arg(fileName));
}

namespace {

// The first path that does not decode, if any; the name a picture has says nothing, so the
// reader looks at the bytes.
std::optional<QString> firstUnreadable(const QStringList &paths)
{
    for (const QString &path : paths) {
        QImageReader reader(path);
        reader.setDecideFormatFromContent(true);
        if (!QFileInfo(path).isFile() || reader.read().isNull())
            return path;
    }
    return std::nullopt;
}

} // namespace

void checkReadableImagesNow(const QStringList &paths)
{
    if (const auto unreadable = firstUnreadable(paths))
        throw ImageError::unreadable(QFileInfo(*unreadable).fileName());
}

QCoro::Task<> checkReadableImages(QStringList paths)
{
    QFuture<std::optional<QString>> checking = QtConcurrent::run([paths] { return firstUnreadable(paths); });
    const std::optional<QString> unreadable = co_await checking;
    if (unreadable)
        throw ImageError::unreadable(QFileInfo(*unreadable).fileName());
}

QStringList characterImagePaths(const Project &project)
{
    QStringList paths;
    for (const CharacterReference &character : project.characters)
        paths << character.referenceImagePaths;
    return paths;
}

bool isLoopbackURL(const QString &url)
{
    const QString host = QUrl(url).host().toLower();
    return host == QLatin1String("127.0.0.1") || host == QLatin1String("::1") || host == QLatin1String("localhost");
}

QCoro::Task<QString> reachableImageURL(QString remoteURL, std::optional<QString> localPath, int maxDimension,
                                       QUrl serviceBase)
{
    const QUrl url(remoteURL);
    const bool sameServer = url.host() == serviceBase.host() && url.port() == serviceBase.port();
    if (!isLoopbackURL(remoteURL) || sameServer)
        co_return remoteURL;
    // A picture the offline studio served can only travel as its bytes: no other service can
    // fetch an address on this computer.
    std::optional<QString> data;
    if (localPath && QFileInfo(*localPath).isFile()) {
        QFuture<std::optional<QString>> encoding
            = QtConcurrent::run([path = *localPath, maxDimension] { return imageDataURL(path, maxDimension); });
        data = co_await encoding;
    }
    if (!data)
        throw Error(QStringLiteral("A picture made offline is no longer on this computer (%1); make it again before "
                                   "sending it to the generation service.")
                        .arg(localPath.value_or(remoteURL)));
    co_return *data;
}

QCoro::Task<QStringList> characterReferenceURLs(QStringList paths)
{
    QFuture<QStringList> encoding = QtConcurrent::run([paths] { return imageDataURLs(paths, 1024); });
    co_return co_await encoding;
}

} // namespace quillvane
