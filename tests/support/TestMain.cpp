// Test entry point: before anything reads the environment, HOME, XDG_DATA_HOME,
// XDG_CONFIG_HOME and TMPDIR point into a fresh temporary folder, so no test can touch the
// real user's library or preferences. The folder is removed when the tests end.

#include <QCoreApplication>
#include <QDir>
#include <QStandardPaths>

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

int main(int argc, char **argv)
{
    const char *base = std::getenv("TMPDIR");
    std::string pattern = std::string(base && *base ? base : "/tmp") + "/quillvane-test-XXXXXX";
    if (!mkdtemp(pattern.data()))
        return 3;
    const std::string home = pattern;
    setenv("HOME", home.c_str(), 1);
    setenv("XDG_DATA_HOME", (home + "/data").c_str(), 1);
    setenv("XDG_CONFIG_HOME", (home + "/config").c_str(), 1);
    setenv("XDG_CACHE_HOME", (home + "/cache").c_str(), 1);
    setenv("TMPDIR", (home + "/tmp").c_str(), 1);
    QDir().mkpath(QString::fromStdString(home + "/tmp"));

    QCoreApplication app(argc, argv);
    ::testing::InitGoogleTest(&argc, argv);
    const int status = RUN_ALL_TESTS();
    QDir(QString::fromStdString(home)).removeRecursively();
    return status;
}
