#pragma once

#include "model/Records.h"

#include <QString>
#include <QUuid>

namespace quillvane {

// The folder of one project and the names of every file in it. A small value made on demand
// for a project id; it holds no open files. Every stage that writes media asks it for the
// path, so the naming rules live here and nowhere else.
struct MediaLibrary {
    QString root; // <projects folder>/<PROJECT-ID>

    static MediaLibrary make(const QUuid &projectId, const QString &projectsFolder);

    QString projectFile() const;
    QString framesFolder() const;
    QString elementsFolder() const;
    QString clipsFolder() const;
    QString exportsFolder() const;

    // Creates frames, elements, clips and exports (and every missing parent). A folder that
    // cannot be made is skipped; the write that needs it reports the failure later.
    void ensureFolders() const;

    // frames/<CHUNK-ID>_<FRAME-ID>.png
    QString framePath(const QUuid &chunkId, const QUuid &frameId) const;
    // elements/<element id with "/" as "-" and blanks as "_">.png
    QString elementImagePath(const QString &elementId) const;
    // clips/<CHUNK-ID>.mov; rendering a chunk again overwrites it.
    QString clipPath(const QUuid &chunkId) const;
    // <destination folder, or exports/>/<title with "/" as "-" and blanks as "_", or
    // "lyric-video">.<mp4|mov>
    QString exportPath(const Project &project) const;

    bool operator==(const MediaLibrary &) const = default;
};

// File-name form of a user text or a planner's id: every "/" becomes "-" and every blank "_".
// So that no name can leave its folder or fail to be created, NUL and other control
// characters also become "-", and a name longer than a file system allows is cut (at a
// character boundary) to leave room for an extension.
QString fileSafeName(const QString &text);

} // namespace quillvane
