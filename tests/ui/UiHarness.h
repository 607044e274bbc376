#pragma once

// The application's main window over a store of its own, rendered offscreen: for looking at
// the screens (every picture is written to the screenshots folder of the build) and for
// reading what they show.

#include "support/Fixtures.h"
#include "ui/Bridges.h"
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
        , bridges(store)
    {
        bridges.expose(engine);
        engine.addImageProvider(QStringLiteral("symbol"), new ui::IconProvider);
        engine.load(QUrl(QStringLiteral("qrc:/qt/qml/Quillvane/Main.qml")));
        settle();
    }

    QQuickWindow *window() const
    {
        return engine.rootObjects().isEmpty() ? nullptr : qobject_cast<QQuickWindow *>(engine.rootObjects().first());
    }

    // Lets bindings, layouts, image loads and the deletion of replaced screens finish.
    void settle()
    {
        processEventsFor(std::chrono::milliseconds(150));
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        processEventsFor(std::chrono::milliseconds(20));
    }

    // Every item of that name in the visual tree (delegates of repeaters and loaders
    // included), inside the item named `within` when one is given.
    QList<QQuickItem *> findAll(const QString &objectName, const QString &within = {}) const
    {
        QList<QQuickItem *> found;
        if (!window())
            return found;
        QQuickItem *root = window()->contentItem();
        if (!within.isEmpty()) {
            const QList<QQuickItem *> roots = findAll(within);
            if (roots.isEmpty())
                return found;
            root = roots.first();
        }
        QList<QQuickItem *> pending{root};
        while (!pending.isEmpty()) {
            QQuickItem *item = pending.takeFirst();
            if (item->objectName() == objectName)
                found.append(item);
            pending.append(item->childItems());
        }
        return found;
    }

    // The first item of that name that is on screen, or the first of all when none is.
    QQuickItem *find(const QString &objectName, const QString &within = {}) const
    {
        const QList<QQuickItem *> all = findAll(objectName, within);
        for (QQuickItem *item : all) {
            if (item->isVisible())
                return item;
        }
        return all.value(0);
    }
    QString text(const QString &objectName, const QString &within = {}) const
    {
        const QQuickItem *item = find(objectName, within);
        return item ? item->property("text").toString() : QString();
    }
    bool shown(const QString &objectName) const
    {
        const QQuickItem *item = find(objectName);
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
    ui::Bridges bridges;
    QQmlApplicationEngine engine;
};

} // namespace quillvane::test
