#pragma once

// The application's main window over a store of its own, rendered offscreen: for looking at
// the screens (every picture is written to the screenshots folder of the build), reading what
// they show and acting on them as a person does.

#include "support/Fixtures.h"
#include "ui/Bridges.h"
#include "ui/IconProvider.h"

#include <QAnyStringView>
#include <QDir>
#include <QQmlApplicationEngine>
#include <QQuickItem>
#include <QQuickWindow>
#include <QTest>

#include <algorithm>
#include <chrono>
#include <optional>

namespace quillvane::test {

// `total` chunks of 4.25 s, "line 1" onwards, each with a frame (the first `accepted` of them
// accepted) and no clip.
inline Project withChunks(int total, int accepted)
{
    Project project;
    project.title = QStringLiteral("Letters in the Snow");
    for (int i = 0; i < total; ++i) {
        StoryboardChunk chunk = chunkWithFrame(i < accepted);
        chunk.index = i;
        chunk.chunkNumber = i + 1;
        chunk.start = i * 4.25;
        chunk.end = chunk.start + 4.25;
        chunk.renderedText = QStringLiteral("line %1").arg(i + 1);
        chunk.frame->motionClipPath.reset();
        project.chunks.append(chunk);
    }
    return project;
}

class UiHarness {
public:
    explicit UiHarness(const Project &project, std::optional<PipelineStage> stage = {})
        : store(temp.library(), project)
        , bridges(store)
    {
        bridges.expose(engine);
        engine.addImageProvider(QStringLiteral("symbol"), new ui::IconProvider);
        engine.load(QUrl(QStringLiteral("qrc:/qt/qml/Quillvane/Main.qml")));
        if (stage)
            store.session().setSelectedStage(*stage);
        settle();
    }

    QQuickWindow *window() const { return qobject_cast<QQuickWindow *>(engine.rootObjects().value(0)); }

    // Lets bindings, layouts, image loads and the deletion of replaced screens finish.
    void settle()
    {
        processEventsFor(std::chrono::milliseconds(150));
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        processEventsFor(std::chrono::milliseconds(20));
    }

    // Every item of that name in the visual tree (delegates of repeaters and loaders included).
    QList<QQuickItem *> findAll(QAnyStringView objectName) const
    {
        QList<QQuickItem *> found;
        QList<QQuickItem *> pending{window()->contentItem()};
        const QString name = objectName.toString();
        while (!pending.isEmpty()) {
            QQuickItem *item = pending.takeFirst();
            if (item->objectName() == name)
                found.append(item);
            pending.append(item->childItems());
        }
        return found;
    }

    // The first item of that name that is on screen, or the first of all when none is.
    QQuickItem *find(QAnyStringView objectName) const
    {
        const QList<QQuickItem *> all = findAll(objectName);
        const auto visible = std::find_if(all.begin(), all.end(), [](QQuickItem *item) { return item->isVisible(); });
        return visible != all.end() ? *visible : all.value(0);
    }
    QString text(QAnyStringView objectName) const
    {
        const QQuickItem *item = find(objectName);
        return item ? item->property("text").toString() : QString();
    }
    bool shown(QAnyStringView objectName) const { return find(objectName) && find(objectName)->isVisible(); }

    // What a click on the control does, then the screen catching up.
    void click(QAnyStringView objectName)
    {
        QMetaObject::invokeMethod(find(objectName), "clicked");
        settle();
    }
    void key(int key, Qt::KeyboardModifiers modifiers = Qt::NoModifier)
    {
        QTest::keyClick(window(), Qt::Key(key), modifiers);
        settle();
    }
    void show(PipelineStage stage)
    {
        store.session().setSelectedStage(stage);
        settle();
    }

    // Renders the window and writes it as <name>.png into the screenshots folder.
    QImage screenshot(const char *name)
    {
        settle();
        const QImage image = window()->grabWindow();
        QDir().mkpath(QStringLiteral(QUILLVANE_SCREENSHOT_DIR));
        image.save(QStringLiteral(QUILLVANE_SCREENSHOT_DIR "/%1.png").arg(QLatin1String(name)));
        return image;
    }

    TempLibrary temp;
    ProjectStore store;
    ui::Bridges bridges;
    QQmlApplicationEngine engine;
};

} // namespace quillvane::test
