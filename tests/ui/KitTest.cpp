#include "support/Fixtures.h"
#include "ui/IconProvider.h"

#include <QDir>
#include <QQmlComponent>
#include <QQmlEngine>
#include <QQuickItem>
#include <QQuickWindow>

#include <gtest/gtest.h>

#include <memory>

namespace quillvane {
namespace {

// Every piece of the kit on one page, as the screens will use them.
const char *gallery = R"(
import QtQuick
import QtQuick.Layouts
import Quillvane

Window {
    width: 760; height: 520; visible: true; color: Theme.inkDeep
    ColumnLayout {
        x: 28; y: 24; width: 700; spacing: 18
        SurfaceHeader { kicker: "Step 6 · Motion"; title: "DepthFlow parallax."; subtitle: "Add local parallax motion to accepted frames."; Layout.fillWidth: true }
        Kicker { objectName: "kicker"; kicker: "Step 6 · Motion" }
        Row {
            spacing: 8
            Repeater {
                model: ["neutral", "pending", "good", "warn", "bad", "accent"]
                delegate: StatusChip { required property string modelData; text: modelData; intent: modelData }
            }
        }
        Panel {
            Layout.fillWidth: true; implicitHeight: 120
            ColumnLayout {
                width: 640; spacing: 12
                ProgressMeter { objectName: "under"; value: -0.2; Layout.fillWidth: true }
                ProgressMeter { objectName: "half"; value: 0.5; tint: Theme.amber; Layout.fillWidth: true }
                ProgressMeter { objectName: "over"; value: 1.7; Layout.fillWidth: true }
            }
        }
        Row {
            spacing: 10
            PrimaryButton { text: "Render motion"; symbol: "wand.and.rays" }
            PrimaryButton { text: "Export lyric video"; symbol: "square.and.arrow.up.fill"; styleEnabled: false }
            SecondaryButton { text: "Review frames"; symbol: "photo.on.rectangle.angled" }
            Spinner {}
        }
    }
}
)";

struct Gallery {
    Gallery()
    {
        engine.addImageProvider(QStringLiteral("symbol"), new ui::IconProvider);
        engine.addImportPath(QStringLiteral("qrc:/qt/qml"));
        QQmlComponent component(&engine);
        component.setData(gallery, QUrl(QStringLiteral("qrc:/gallery.qml")));
        window.reset(qobject_cast<QQuickWindow *>(component.create()));
        if (!window)
            ADD_FAILURE() << component.errorString().toStdString();
        test::processEventsFor(std::chrono::milliseconds(200));
    }
    QQuickItem *item(const char *name) const { return window->findChild<QQuickItem *>(QString::fromLatin1(name)); }

    QQmlEngine engine;
    std::unique_ptr<QQuickWindow> window;
};

TEST(Kit, MetersClampTheirFillAndLabelsShoutInCapitals)
{
    Gallery gallery;
    ASSERT_TRUE(gallery.window);
    const auto fill = [&](const char *meter) {
        return gallery.item(meter)->findChild<QQuickItem *>(QStringLiteral("meterFill"))->width()
            / gallery.item(meter)->width();
    };
    EXPECT_EQ(fill("under"), 0.0);
    EXPECT_DOUBLE_EQ(fill("half"), 0.5);
    EXPECT_EQ(fill("over"), 1.0);
    EXPECT_EQ(gallery.item("kicker")->property("text").toString(), QStringLiteral("STEP 6 · MOTION"));

    QDir().mkpath(QStringLiteral(QUILLVANE_SCREENSHOT_DIR));
    gallery.window->grabWindow().save(QStringLiteral(QUILLVANE_SCREENSHOT_DIR "/kit-gallery.png"));
}

} // namespace
} // namespace quillvane

namespace quillvane {
namespace {

TEST(BusyLibrary, SaysWhyTheAppCannotOpenInAWindow)
{
    QQmlEngine engine;
    engine.addImageProvider(QStringLiteral("symbol"), new ui::IconProvider);
    engine.addImportPath(QStringLiteral("qrc:/qt/qml"));
    QQmlComponent component(&engine, QUrl(QStringLiteral("qrc:/qt/qml/Quillvane/BusyLibraryWindow.qml")));
    const QString sentence = QStringLiteral("Quillvane is already open on this library. Close it and try again.");
    std::unique_ptr<QQuickWindow> window(
        qobject_cast<QQuickWindow *>(component.createWithInitialProperties({{QStringLiteral("message"), sentence}})));
    ASSERT_TRUE(window) << component.errorString().toStdString();
    test::processEventsFor(std::chrono::milliseconds(150));
    QString shown;
    QList<QQuickItem *> pending{window->contentItem()};
    while (!pending.isEmpty()) {
        QQuickItem *item = pending.takeFirst();
        if (item->objectName() == QStringLiteral("busyMessage"))
            shown = item->property("text").toString();
        pending.append(item->childItems());
    }
    EXPECT_EQ(shown, sentence);
    window->grabWindow().save(QStringLiteral(QUILLVANE_SCREENSHOT_DIR "/busy-library.png"));
}

} // namespace
} // namespace quillvane
