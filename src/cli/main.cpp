#include "cli/Cli.h"

#include <QCoreApplication>

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    QCoreApplication::setOrganizationName(QStringLiteral("Quillvane"));
    QCoreApplication::setApplicationName(QStringLiteral("Quillvane"));
    return quillvane::cli::runCli(app.arguments().mid(1));
}
