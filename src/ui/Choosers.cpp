#include "ui/Choosers.h"

#include <QClipboard>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDesktopServices>
#include <QDir>
#include <QFileInfo>
#include <QProcess>
#include <QGuiApplication>
#include <QLibraryInfo>
#include <QQuickItem>
#include <QQuickWindow>
#include <QStandardPaths>

namespace quillvane::ui {

namespace {

QString preferenceKey(const QString &kind)
{
    return QStringLiteral("chooserFolder_") + kind;
}

QStandardPaths::StandardLocation locationFor(const QString &kind)
{
    if (kind == QLatin1String("image"))
        return QStandardPaths::PicturesLocation;
    if (kind == QLatin1String("export"))
        return QStandardPaths::MoviesLocation;
    return QStandardPaths::MusicLocation;
}

} // namespace

bool chooserModuleFound(const QStringList &importPaths)
{
    for (const QString &path : importPaths) {
        if (QFileInfo::exists(path + QStringLiteral("/Qt/labs/folderlistmodel/qmldir")))
            return true;
    }
    return false;
}

QStringList qmlImportPaths()
{
    QStringList paths;
    for (const char *variable : {"QML_IMPORT_PATH", "QML2_IMPORT_PATH"})
        paths << qEnvironmentVariable(variable).split(QDir::listSeparator(), Qt::SkipEmptyParts);
    paths << QLibraryInfo::path(QLibraryInfo::QmlImportsPath);
    return paths;
}

Choosers::Choosers(Preferences preferences, QStringList importPaths, QObject *parent)
    : QObject(parent)
    , m_preferences(std::move(preferences))
    , m_available(chooserModuleFound(importPaths))
{
}

QString Choosers::unavailableMessage() const
{
    return QStringLiteral("The file chooser cannot open: the package qml6-module-qt-labs-folderlistmodel is not "
                          "installed. Drop the file onto the window instead.");
}

QUrl Choosers::folderFor(const QString &kind) const
{
    if (const auto remembered = m_preferences.string(preferenceKey(kind)); remembered && QFileInfo(*remembered).isDir())
        return QUrl::fromLocalFile(*remembered);
    // XDG user folders may be unset or never created; the home folder always exists.
    const QString user = QStandardPaths::writableLocation(locationFor(kind));
    if (!user.isEmpty() && QFileInfo(user).isDir())
        return QUrl::fromLocalFile(user);
    return QUrl::fromLocalFile(QDir::homePath());
}

void Choosers::remember(const QString &kind, const QUrl &chosen)
{
    if (!chosen.isLocalFile())
        return;
    const QFileInfo info(chosen.toLocalFile());
    const QString folder = info.isDir() ? info.absoluteFilePath() : info.absolutePath();
    m_preferences.setString(preferenceKey(kind), folder);
}

bool Choosers::showInFolder(const QUrl &file) const
{
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (bus.isConnected()) {
        QDBusMessage call = QDBusMessage::createMethodCall(QStringLiteral("org.freedesktop.FileManager1"),
                                                           QStringLiteral("/org/freedesktop/FileManager1"),
                                                           QStringLiteral("org.freedesktop.FileManager1"),
                                                           QStringLiteral("ShowItems"));
        call << QStringList{file.toString()} << QString();
        if (bus.call(call, QDBus::Block, 3000).type() == QDBusMessage::ReplyMessage)
            return true;
    }
    // xdg-open starts (and QDesktopServices says yes) even with nothing to open a folder with,
    // so the desktop is asked first whether any program opens folders.
    QProcess query;
    query.start(QStringLiteral("xdg-mime"), {QStringLiteral("query"), QStringLiteral("default"), QStringLiteral("inode/directory")});
    if (!query.waitForFinished(3000) || query.exitCode() != 0 || query.readAllStandardOutput().trimmed().isEmpty())
        return false;
    return QDesktopServices::openUrl(QUrl::fromLocalFile(QFileInfo(file.toLocalFile()).absolutePath()));
}

void Choosers::fitPathBar(QWindow *window, const QColor &ground) const
{
    auto *quickWindow = qobject_cast<QQuickWindow *>(window);
    if (!quickWindow)
        return;
    QList<QQuickItem *> pending{quickWindow->contentItem()};
    while (!pending.isEmpty()) {
        QQuickItem *item = pending.takeFirst();
        if (QByteArray(item->metaObject()->className()).contains("FolderBreadcrumbBar")) {
            if (auto *background = item->property("background").value<QQuickItem *>())
                background->setProperty("color", ground);
        }
        pending.append(item->childItems());
    }
}

void Choosers::copyText(const QString &text) const
{
    if (QClipboard *clipboard = QGuiApplication::clipboard())
        clipboard->setText(text);
}

} // namespace quillvane::ui
