// The desktop application: one store for the life of the process, made before the first
// window, and the QML workspace over it. A track given on the command line (how a file
// manager's "Open With" hands one over) is imported once the window is up.

#include "audio/AudioTools.h"
#include "pipeline/DefaultServices.h"
#include "storage/LibraryLock.h"
#include "storage/Locations.h"
#include "ui/Bridges.h"
#include "ui/Fonts.h"
#include "ui/IconProvider.h"

#include <QCommandLineParser>
#include <QFileInfo>
#include <QGuiApplication>
#include <QQmlApplicationEngine>
#include <QQuickStyle>
#include <QtQml/QQmlExtensionPlugin>

#include <cstdio>

Q_IMPORT_QML_PLUGIN(QuillvanePlugin)

using namespace quillvane;

int main(int argc, char *argv[])
{
    QGuiApplication app(argc, argv);
    QGuiApplication::setOrganizationName(QStringLiteral("Quillvane"));
    QGuiApplication::setApplicationName(QStringLiteral("Quillvane"));
    // Lets a desktop match the window to its launcher entry (and its icon).
    QGuiApplication::setDesktopFileName(QStringLiteral("app.quillvane.Quillvane"));
    AudioTools::silenceMediaLibraryLogs();
    QQuickStyle::setStyle(QStringLiteral("Basic"));
    ui::registerFonts();

    QCommandLineParser arguments;
    arguments.setApplicationDescription(QStringLiteral("Turns one song into a finished lyric video."));
    arguments.addHelpOption();
    arguments.addPositionalArgument(QStringLiteral("track"), QStringLiteral("An audio file to import."),
                                    QStringLiteral("[track]"));
    arguments.process(app);

    std::optional<LibraryLock> lock;
    try {
        lock.emplace(locations::libraryLockFile());
    } catch (const Error &error) {
        // Another Quillvane writes this library: say so in a window, not only on a terminal.
        std::fprintf(stderr, "%s\n", error.description().toLocal8Bit().constData());
        QQmlApplicationEngine engine;
        engine.setInitialProperties({{QStringLiteral("message"), error.description()}});
        engine.load(QUrl(QStringLiteral("qrc:/qt/qml/Quillvane/BusyLibraryWindow.qml")));
        if (engine.rootObjects().isEmpty())
            return 1;
        QGuiApplication::exec();
        return 1;
    }
    ProjectStore store(ProjectLibrary::forUser(), std::nullopt, makeDefaultServices());
    ui::Bridges bridges(store);

    QQmlApplicationEngine engine;
    bridges.expose(engine);
    engine.addImageProvider(QStringLiteral("symbol"), new ui::IconProvider);
    engine.load(QUrl(QStringLiteral("qrc:/qt/qml/Quillvane/Main.qml")));
    if (engine.rootObjects().isEmpty())
        return 1;
    if (!arguments.positionalArguments().isEmpty())
        bridges.intake.importAudio(QUrl::fromLocalFile(QFileInfo(arguments.positionalArguments().first()).absoluteFilePath()));
    const int status = QGuiApplication::exec();
    try {
        store.document().flushPendingSave();
    } catch (const Error &error) {
        std::fprintf(stderr, "%s\n", error.description().toLocal8Bit().constData());
    }
    return status;
}
