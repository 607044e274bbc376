#pragma once

#include "model/Error.h"
#include "model/Records.h"
#include "storage/MediaLibrary.h"
#include "storage/Preferences.h"

#include <optional>

namespace quillvane {

class SaveError : public Error {
public:
    explicit SaveError(const QString &reason);
};

// The user's library of projects: where project folders live and which one was saved last.
// Saving replaces project.json atomically (a reader sees the old or the new document, never
// a partial one) and only then names the project in "lastProjectID"; a failed save leaves
// the previous document and the preference as they were.
class ProjectLibrary {
public:
    ProjectLibrary(QString projectsFolder, Preferences preferences);

    // The library under the user's XDG data folder, with the user's preferences.
    static ProjectLibrary forUser();

    const QString &projectsFolder() const { return m_projectsFolder; }
    const Preferences &preferences() const { return m_preferences; }
    MediaLibrary mediaFor(const QUuid &projectId) const;

    // Throws SaveError (or EncodingError for a project that has no JSON form).
    void save(const Project &project) const;

    // The project named by "lastProjectID", or nothing when there is none, the id is not a
    // UUID, or its document is missing, unreadable or malformed. Never throws and never
    // touches the files it reads.
    std::optional<Project> loadLastProject() const;

private:
    QString m_projectsFolder;
    Preferences m_preferences;
};

} // namespace quillvane
