// Saves growing versions of one project, as fast as it can, until it is killed.
// usage: save_loop_child PROJECTS_FOLDER PREFERENCES_FILE FIRST_VERSION
// Prints each version's number after its save has returned.

#include "GrowingProject.h"
#include "storage/ProjectLibrary.h"

#include <QCoreApplication>

#include <cstdio>

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    if (argc != 4)
        return 2;
    const quillvane::ProjectLibrary library(QString::fromLocal8Bit(argv[1]),
                                            quillvane::Preferences(QString::fromLocal8Bit(argv[2])));
    for (int version = std::atoi(argv[3]);; ++version) {
        library.save(quillvane::test::growingProject(version));
        std::printf("%d\n", version);
        std::fflush(stdout);
    }
}
