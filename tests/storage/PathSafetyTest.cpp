// Names that come from outside (a planner's element ids, a user's title) can never put a file
// outside the folder it belongs in, and always make a name the file system accepts.

#include "storage/MediaLibrary.h"
#include "support/Fixtures.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace quillvane;

namespace {

const QString hostileNames[] = {
    QStringLiteral(".."),
    QStringLiteral("../../../../etc/passwd"),
    QStringLiteral("a/../../b"),
    QStringLiteral("..\\\\..\\\\windows"),
    QStringLiteral("nul") + QChar(0) + QStringLiteral("byte/../x"),
    QStringLiteral("line\nbreak\ttab\rreturn"),
    QStringLiteral("-leading dash"),
    QStringLiteral("é").repeated(400),            // 800 bytes of two-byte letters
    QStringLiteral("🎸").repeated(300),            // surrogate pairs, cut only between them
    QStringLiteral("."),
    QString(),
};

// The file the path names can be written, and it lies directly inside `folder`.
void expectInside(const QString &path, const QString &folder, const QString &name)
{
    const QFileInfo info(path);
    EXPECT_EQ(QDir::cleanPath(info.absolutePath()), QDir::cleanPath(folder)) << qPrintable(name.left(40));
    EXPECT_FALSE(info.fileName().contains(QChar(0)));
    EXPECT_LE(QFile::encodeName(info.fileName()).size(), 255);
    ASSERT_TRUE(QDir().mkpath(folder));
    QFile file(path);
    EXPECT_TRUE(file.open(QIODevice::WriteOnly)) << qPrintable(file.errorString()) << " for " << qPrintable(name.left(40));
    file.close();
    file.remove();
}

} // namespace

TEST(PathSafety, ElementIdsAndTitlesStayInTheirFoldersWithNamesTheFileSystemTakes)
{
    QTemporaryDir root;
    const MediaLibrary media = MediaLibrary::make(QUuid::createUuid(), root.filePath(QStringLiteral("projects")));
    const QString destination = root.filePath(QStringLiteral("chosen destination"));
    for (const QString &name : hostileNames) {
        expectInside(media.elementImagePath(name), media.elementsFolder(), name);

        Project project;
        project.title = name;
        expectInside(media.exportPath(project), media.exportsFolder(), name);
        project.exportSettings.destinationFolder = destination;
        expectInside(media.exportPath(project), destination, name);
    }
    EXPECT_TRUE(QDir(root.path()).entryList(QDir::Files).isEmpty());
    EXPECT_EQ(fileSafeName(QStringLiteral("🎸").repeated(300)), QStringLiteral("🎸").repeated(50))
        << "a long name is cut between characters, within 200 bytes";
}
