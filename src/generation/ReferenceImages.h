#pragma once

// A character's reference images: checked when the user adds them, so a file that is not a
// picture is refused before it joins the project, and turned into upload data off the UI
// thread, once per image for a whole operation.

#include "model/Error.h"
#include "model/Records.h"

#include <QCoro/QCoroTask>
#include <QStringList>
#include <QUrl>

namespace quillvane {

inline const QString addImagesLabel = QStringLiteral("Adding reference images");

class ImageError : public Error {
public:
    // fileName: the name the user knows the file by, without its folder.
    static ImageError unreadable(const QString &fileName);

private:
    using Error::Error;
};

// Throws ImageError for the first path that is missing or does not decode as an image.
void checkReadableImagesNow(const QStringList &paths);

// checkReadableImagesNow on the thread pool.
QCoro::Task<> checkReadableImages(QStringList paths);

// Every character's reference images, characters in project order.
QStringList characterImagePaths(const Project &project);

// Every character's reference images as JPEG data URLs (the unreadable ones left out), made
// on the thread pool.
QCoro::Task<QStringList> characterReferenceURLs(QStringList paths);

// Whether the URL names this computer (127.0.0.1, ::1, localhost): an address the service can
// never fetch, and one the studio that made it no longer answers once its process has ended.
bool isLoopbackURL(const QString &url);

// The URL to send to the service at serviceBase for an image the project holds: its remote
// URL, unless that is a loopback address of another server (a studio of an earlier run, or
// the studio when generating with the service): then the project's own file is sent as a JPEG
// data URL of at most maxDimension pixels a side (made on the thread pool), and without that
// file it throws an Error with a sentence; a loopback address never reaches another server.
QCoro::Task<QString> reachableImageURL(QString remoteURL, std::optional<QString> localPath, int maxDimension,
                                       QUrl serviceBase);

} // namespace quillvane
