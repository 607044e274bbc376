#pragma once

// A character's reference images: checked when the user adds them, so a file that is not a
// picture is refused before it joins the project, and turned into upload data off the UI
// thread, once per image for a whole operation.

#include "model/Error.h"
#include "store/ProjectStore.h"

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

// Checks the images on the thread pool, then appends them to the character in one change.
// Throws ImageError and leaves the project as it was when any image is unreadable; a missing
// character changes nothing.
QCoro::Task<> addReferenceImages(ProjectStore &store, QUuid characterID, QStringList paths);
// addReferenceImages through the store's Run wrapper, so a refusal shows as the banner.
QCoro::Task<Done> startAddReferenceImages(ProjectStore &store, QUuid characterID, QStringList paths);

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
