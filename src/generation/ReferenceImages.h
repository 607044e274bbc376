#pragma once

// A character's reference images: checked when the user adds them, so a file that is not a
// picture is refused before it joins the project, and turned into upload data off the UI
// thread, once per image for a whole operation.

#include "model/Error.h"
#include "store/ProjectStore.h"

#include <QCoro/QCoroTask>
#include <QStringList>

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

} // namespace quillvane
