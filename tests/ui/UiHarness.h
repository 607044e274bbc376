#pragma once

// The application's main window over a store of its own, rendered offscreen: for looking at
// the screens (every picture is written to the screenshots folder of the build) and for
// reading what they show.

#include "support/Fixtures.h"
#include "ui/AppStore.h"
#include "ui/IconProvider.h"

#include <QDir>
#include <QQmlApplicationEngine>
#include <QQuickItem>
#include <QQuickWindow>

#include <chrono>

namespace quillvane::test {

class UiHarness {
public:
    explicit UiHarness(const Project &project)
        : store(temp.library(), project)
        , bridge(store)
    {
        engine.addImageProvider(QStringLiteral("symbol"), new ui::IconProvider);
        engine.load(QUrl(QStringLiteral("qrc:/qt/qml/Quillvane/Main.qml")));
        settle();
    }

    QQuickWindow *window() const
    {
        return engine.rootObjects().isEmpty() ? nullptr : qobject_cast<QQuickWindow *>(engine.rootObjects().first());
    }

    // Lets bindings, layouts and image loads finish.
    void settle() { processEventsFor(std::chrono::milliseconds(150)); }

    // The first object of that name, inside the object named `within` when one is given.
    QObject *find(const QString &objectName, const QString &within = {}) const
    {
        QObject *root = window();
        if (root && !within.isEmpty())
            root = root->findChild<QObject *>(within);
        return root ? root->findChild<QObject *>(objectName) : nullptr;
    }
    QString text(const QString &objectName, const QString &within = {}) const
    {
        const QObject *item = find(objectName, within);
        return item ? item->property("text").toString() : QString();
    }
    bool shown(const QString &objectName) const
    {
        const auto *item = qobject_cast<const QQuickItem *>(find(objectName));
        return item && item->isVisible();
    }

    // Renders the window and writes it as <name>.png into the screenshots folder.
    QImage screenshot(const QString &name)
    {
        settle();
        const QImage image = window()->grabWindow();
        QDir().mkpath(QStringLiteral(QUILLVANE_SCREENSHOT_DIR));
        image.save(QStringLiteral(QUILLVANE_SCREENSHOT_DIR "/") + name + QStringLiteral(".png"));
        return image;
    }

    TempLibrary temp;
    ProjectStore store;
    ui::AppStore bridge;
    QQmlApplicationEngine engine;
};

} // namespace quillvane::test
