#include "storage/Locations.h"

#include <QStandardPaths>

namespace quillvane {

NoDataFolderError::NoDataFolderError()
    : Error(QStringLiteral("Quillvane could not find a folder for its library. Set HOME or XDG_DATA_HOME and try again."))
{
}

namespace locations {

QString dataFolder()
{
    const QString base = QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation);
    if (base.isEmpty())
        throw NoDataFolderError();
    return base + QStringLiteral("/Quillvane");
}

QString projectsFolder() { return dataFolder() + QStringLiteral("/projects"); }
QString whisperRuntimeFolder() { return dataFolder() + QStringLiteral("/whisper-runtime"); }
QString demoFolder() { return dataFolder() + QStringLiteral("/demo"); }
QString libraryLockFile() { return dataFolder() + QStringLiteral("/library.lock"); }

} // namespace locations
} // namespace quillvane
