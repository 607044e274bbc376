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

QCoro::Task<> addReferenceImages(ProjectStore &store, QUuid characterID, QStringList paths)
{
    QFuture<std::optional<QString>> checking = QtConcurrent::run([paths] { return firstUnreadable(paths); });
    const std::optional<QString> unreadable = co_await checking;
    if (unreadable)
        throw ImageError::unreadable(QFileInfo(*unreadable).fileName());
    store.addReferenceImages(characterID, paths);
}

QCoro::Task<Done> startAddReferenceImages(ProjectStore &store, QUuid characterID, QStringList paths)
{
    return store.run(addImagesLabel, [&store, characterID, paths](CancelToken) {
        return addReferenceImages(store, characterID, paths);
    });
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
    if (!isLoopbackURL(remoteURL) || sameServer || !localPath || !QFileInfo(*localPath).isFile())
        co_return remoteURL;
    QFuture<std::optional<QString>> encoding
        = QtConcurrent::run([path = *localPath, maxDimension] { return imageDataURL(path, maxDimension); });
    const std::optional<QString> data = co_await encoding;
    co_return data.value_or(remoteURL);
}

QCoro::Task<QStringList> characterReferenceURLs(QStringList paths)
{
    QFuture<QStringList> encoding = QtConcurrent::run([paths] { return imageDataURLs(paths, 1024); });
    co_return co_await encoding;
}

} // namespace quillvane
