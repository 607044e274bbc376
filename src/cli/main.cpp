#include "audio/AudioTools.h"
#include "cli/Cli.h"

#include <QGuiApplication>

#include <cstdio>

namespace {

// The GUI application asks for a runtime folder a command line never needs; its complaint
// about a missing one would only clutter standard error.
void quietMessages(QtMsgType type, const QMessageLogContext &, const QString &message)
{
    if (message.startsWith(QLatin1String("QStandardPaths: ")))
        return;
    if (type != QtDebugMsg)
        std::fprintf(stderr, "%s\n", message.toLocal8Bit().constData());
}

} // namespace

int main(int argc, char *argv[])
{
    qInstallMessageHandler(quietMessages);
    // The offline studio letters its pictures, which needs a GUI application; the offscreen
    // platform gives one on any machine, display or not.
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication app(argc, argv);
    QCoreApplication::setOrganizationName(QStringLiteral("Quillvane"));
    QCoreApplication::setApplicationName(QStringLiteral("Quillvane"));
    quillvane::AudioTools::silenceMediaLibraryLogs();
    return quillvane::cli::runCli(app.arguments().mid(1));
}
