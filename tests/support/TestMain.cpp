// Test entry point for the core: every test binary runs under its own temporary HOME.

#include "support/TestHome.h"

#include <QCoreApplication>

#include <gtest/gtest.h>

int main(int argc, char **argv)
{
    const std::string home = quillvane::test::enterTestHome();
    if (home.empty())
        return 3;
    QCoreApplication app(argc, argv);
    ::testing::InitGoogleTest(&argc, argv);
    const int status = RUN_ALL_TESTS();
    quillvane::test::leaveTestHome(home);
    return status;
}
