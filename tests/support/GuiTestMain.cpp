// Test entry point for code that paints: a GUI application on the offscreen platform (text
// needs one), under a temporary HOME like every other test.

#include "support/TestHome.h"

#include <QGuiApplication>

#include <gtest/gtest.h>

int main(int argc, char **argv)
{
    const std::string home = quillvane::test::enterTestHome();
    if (home.empty())
        return 3;
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication app(argc, argv);
    ::testing::InitGoogleTest(&argc, argv);
    const int status = RUN_ALL_TESTS();
    quillvane::test::leaveTestHome(home);
    return status;
}
