#include "support/TestHome.h"

#include <QDir>
#include <QString>

#include <cstdlib>

namespace quillvane::test {

std::string enterTestHome()
{
    const char *base = std::getenv("TMPDIR");
    std::string pattern = std::string(base && *base ? base : "/tmp") + "/quillvane-test-XXXXXX";
    if (!mkdtemp(pattern.data()))
        return {};
    const std::string home = pattern;
    setenv("HOME", home.c_str(), 1);
    setenv("XDG_DATA_HOME", (home + "/data").c_str(), 1);
    setenv("XDG_CONFIG_HOME", (home + "/config").c_str(), 1);
    setenv("XDG_CACHE_HOME", (home + "/cache").c_str(), 1);
    setenv("TMPDIR", (home + "/tmp").c_str(), 1);
    QDir().mkpath(QString::fromStdString(home + "/tmp"));
    return home;
}

void leaveTestHome(const std::string &home)
{
    QDir(QString::fromStdString(home)).removeRecursively();
}

} // namespace quillvane::test
