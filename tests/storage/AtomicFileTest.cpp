#include "storage/AtomicFile.h"
#include "support/Fixtures.h"

#include <QDir>

#include <gtest/gtest.h>

using namespace quillvane;

TEST(AtomicFile, AFailedReplaceKeepsTheOldFileAndLeavesNoTemporaryFile)
{
    const QByteArray old = "{\"old\": true}\n";
    const struct {
        const char *name;
        QString relativePath;         // under the folder holding the old file
        rlim_t sizeLimit;             // 0: no limit
        QByteArray bytes;
    } cases[] = {
        {"a short write of a small document (disk full)", QStringLiteral("project.json"), 40, QByteArray(300, 'x')},
        {"a short write of a large document", QStringLiteral("project.json"), 4096, QByteArray(1 << 20, 'x')},
        {"a folder that does not exist", QStringLiteral("missing/project.json"), 0, "{}"},
        {"a folder where the file belongs", QStringLiteral("taken"), 0, "{}"},
    };
    for (const auto &c : cases) {
        test::TempLibrary temp;
        const QString folder = temp.path(QStringLiteral("project"));
        test::writeFile(folder + QStringLiteral("/project.json"), old);
        QDir().mkpath(folder + QStringLiteral("/taken"));
        std::optional<QString> failure;
        {
            std::optional<test::FileSizeLimit> limit;
            if (c.sizeLimit)
                limit.emplace(c.sizeLimit);
            failure = replaceFileAtomically(folder + QLatin1Char('/') + c.relativePath, c.bytes);
        }
        EXPECT_TRUE(failure.has_value()) << c.name;
        EXPECT_EQ(test::readFile(folder + QStringLiteral("/project.json")), old) << c.name;
        EXPECT_EQ(QDir(folder).entryList(QDir::Files | QDir::Hidden), QStringList{QStringLiteral("project.json")})
            << c.name;
    }
}
