#include "storage/ProjectLibrary.h"

#include "model/PipelineConfig.h"
#include "model/ProjectJson.h"
#include "storage/AtomicFile.h"
#include "storage/Locations.h"

#include <QFile>
#include <QRegularExpression>

namespace quillvane {

SaveError::SaveError(const QString &reason)
    : Error(QStringLiteral("Could not save the project: %1").arg(reason))
{
}

ProjectLibrary::ProjectLibrary(QString projectsFolder, Preferences preferences)
    : m_projectsFolder(std::move(projectsFolder))
    , m_preferences(std::move(preferences))
{
}

ProjectLibrary ProjectLibrary::forUser()
{
    return ProjectLibrary(locations::projectsFolder(), Preferences::forUser());
}

MediaLibrary ProjectLibrary::mediaFor(const QUuid &projectId) const
{
    return MediaLibrary::make(projectId, m_projectsFolder);
}

void ProjectLibrary::save(const Project &project) const
{
    const MediaLibrary media = mediaFor(project.id);
    media.ensureFolders();
    const QByteArray bytes = writeProjectDocument(project);

    if (const auto failure = replaceFileAtomically(media.projectFile(), bytes))
        throw SaveError(*failure);

    m_preferences.setString(QString::fromUtf8(preferenceKeys::lastProjectID), uuidText(project.id));
}

std::optional<Project> ProjectLibrary::loadLastProject() const
{
    static const QRegularExpression canonical(QStringLiteral(
        "^[0-9A-Fa-f]{8}-[0-9A-Fa-f]{4}-[0-9A-Fa-f]{4}-[0-9A-Fa-f]{4}-[0-9A-Fa-f]{12}$"));
    const auto idText = m_preferences.string(QString::fromUtf8(preferenceKeys::lastProjectID));
    if (!idText || !canonical.match(*idText).hasMatch())
        return std::nullopt;

    QFile file(mediaFor(QUuid::fromString(*idText)).projectFile());
    if (!file.open(QIODevice::ReadOnly))
        return std::nullopt;
    const QByteArray bytes = file.readAll();
    if (file.error() != QFileDevice::NoError)
        return std::nullopt;
    try {
        return readProjectDocument(bytes);
    } catch (const Error &) {
        return std::nullopt;
    }
}

} // namespace quillvane
