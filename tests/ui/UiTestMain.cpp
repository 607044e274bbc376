// Test entry point for the screens: a GUI application on the offscreen platform with Qt
// Quick's software renderer, so windows render to images on a machine without a display,
// under a temporary HOME like every other test.

#include "support/TestHome.h"
#include "ui/Fonts.h"

#include <QGuiApplication>
#include <QQuickStyle>
#include <QQuickWindow>
#include <QtQml/QQmlExtensionPlugin>

#include <gtest/gtest.h>

Q_IMPORT_QML_PLUGIN(QuillvanePlugin)

int main(int argc, char **argv)
{
    const std::string home = quillvane::test::enterTestHome();
    if (home.empty())
        return 3;
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QQuickWindow::setGraphicsApi(QSGRendererInterface::Software);
    QGuiApplication app(argc, argv);
    QQuickStyle::setStyle(QStringLiteral("Basic"));
    quillvane::ui::registerFonts();
    ::testing::InitGoogleTest(&argc, argv);
    const int status = RUN_ALL_TESTS();
    quillvane::test::leaveTestHome(home);
    return status;
}
