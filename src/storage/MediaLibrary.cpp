#include "storage/MediaLibrary.h"

#include <QDir>

namespace quillvane {

MediaLibrary MediaLibrary::make(const QUuid &projectId, const QString &projectsFolder)
{
    return {projectsFolder + QLatin1Char('/') + uuidText(projectId)};
}

QString MediaLibrary::projectFile() const { return root + QStringLiteral("/project.json"); }
QString MediaLibrary::framesFolder() const { return root + QStringLiteral("/frames"); }
QString MediaLibrary::elementsFolder() const { return root + QStringLiteral("/elements"); }
QString MediaLibrary::clipsFolder() const { return root + QStringLiteral("/clips"); }
QString MediaLibrary::exportsFolder() const { return root + QStringLiteral("/exports"); }

void MediaLibrary::ensureFolders() const
{
    for (const QString &folder : {framesFolder(), elementsFolder(), clipsFolder(), exportsFolder()})
        QDir().mkpath(folder);
}

QString MediaLibrary::framePath(const QUuid &chunkId, const QUuid &frameId) const
{
    return framesFolder() + QLatin1Char('/') + uuidText(chunkId) + QLatin1Char('_') + uuidText(frameId)
        + QStringLiteral(".png");
}

QString MediaLibrary::elementImagePath(const QString &elementId) const
{
    return elementsFolder() + QLatin1Char('/') + fileSafeName(elementId) + QStringLiteral(".png");
}

QString MediaLibrary::clipPath(const QUuid &chunkId) const
{
    return clipsFolder() + QLatin1Char('/') + uuidText(chunkId) + QStringLiteral(".mov");
}

QString MediaLibrary::exportPath(const Project &project) const
{
    const QString base = project.title.isEmpty() ? QStringLiteral("lyric-video") : fileSafeName(project.title);
    const QString &destination = project.exportSettings.destinationFolder;
    const QString folder = destination.isEmpty() ? exportsFolder() : destination;
    return folder + QLatin1Char('/') + base + QLatin1Char('.') + fileExtension(project.exportSettings.container);
}

namespace {
// File names hold at most 255 bytes; the rest is left for an extension or a temporary prefix.
constexpr qsizetype maximumNameBytes = 200;
} // namespace

QString fileSafeName(const QString &text)
{
    QString name;
    name.reserve(text.size());
    for (const QChar c : text) {
        if (c == QLatin1Char('/') || c.category() == QChar::Other_Control)
            name += QLatin1Char('-');
        else if (c == QLatin1Char(' '))
            name += QLatin1Char('_');
        else
            name += c;
    }
    if (name.toUtf8().size() <= maximumNameBytes)
        return name;
    qsizetype bytes = 0;
    qsizetype end = 0;
    while (end < name.size()) {
        // A surrogate pair is one character: it is kept or cut as a whole.
        const qsizetype length = name.at(end).isHighSurrogate() && end + 1 < name.size() ? 2 : 1;
        const qsizetype size = name.mid(end, length).toUtf8().size();
        if (bytes + size > maximumNameBytes)
            break;
        bytes += size;
        end += length;
    }
    return name.left(end);
}

} // namespace quillvane
