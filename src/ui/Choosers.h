#pragma once

#include "storage/Preferences.h"

#include <QColor>
#include <QObject>
#include <QWindow>
#include <QQmlEngine>
#include <QStringList>
#include <QUrl>

namespace quillvane::ui {

// What the file and folder choosers need beyond Qt's dialogs (Session.choosers in QML): the
// folder each kind of chooser starts in, whether Qt's own chooser can open at all on this
// computer, and showing a written file in the desktop's file manager.
//
// Kinds: "track" (starts in Music), "image" (Pictures) and "export" (Videos); each remembers
// the last folder chosen from it, kept in the preferences.
class Choosers : public QObject {
    Q_OBJECT
    QML_ANONYMOUS

    Q_PROPERTY(bool available READ available CONSTANT)
    Q_PROPERTY(QString unavailableMessage READ unavailableMessage CONSTANT)

public:
    // importPaths: where QML modules are looked for (the engine's list in the application).
    Choosers(Preferences preferences, QStringList importPaths, QObject *parent = nullptr);

    // Qt's own chooser lists folders with a module that a system may lack; without it Qt 6.4
    // crashes as the dialog opens, so the screens ask first.
    bool available() const { return m_available; }
    QString unavailableMessage() const;

    // The remembered folder of this kind when it still exists, else the user's folder for it,
    // else the home folder.
    Q_INVOKABLE QUrl folderFor(const QString &kind) const;
    // Remembers the folder of a chosen file, or a chosen folder itself.
    Q_INVOKABLE void remember(const QString &kind, const QUrl &chosen);
    // Selects the file in the desktop's file manager, else opens its folder. False when the
    // desktop could do neither, so the screen can show the path instead.
    Q_INVOKABLE bool showInFolder(const QUrl &file) const;
    Q_INVOKABLE void copyText(const QString &text) const;
    // Qt's own chooser paints its path bar on a fixed white ground that no palette reaches, so
    // the folder names (drawn in the window's text colour) vanish; once the chooser is open in
    // the window, the ground takes the given colour.
    Q_INVOKABLE void fitPathBar(QWindow *window, const QColor &ground) const;
    Q_INVOKABLE static QUrl fileURL(const QString &path) { return QUrl::fromLocalFile(path); }

private:
    Preferences m_preferences;
    bool m_available;
};

// Whether the module Qt's own file chooser needs is found under any of the import paths.
bool chooserModuleFound(const QStringList &importPaths);
// Where a QML engine of this process looks for installed modules: the folders named by
// QML_IMPORT_PATH and QML2_IMPORT_PATH, then Qt's own.
QStringList qmlImportPaths();

} // namespace quillvane::ui
