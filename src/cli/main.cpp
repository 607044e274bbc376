#include "audio/AudioTools.h"
#include "cli/Cli.h"

#include <QCoreApplication>

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    QCoreApplication::setOrganizationName(QStringLiteral("Quillvane"));
    QCoreApplication::setApplicationName(QStringLiteral("Quillvane"));
    quillvane::AudioTools::silenceMediaLibraryLogs();
    return quillvane::cli::runCli(app.arguments().mid(1));
}
