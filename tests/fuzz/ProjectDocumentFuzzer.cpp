// Any bytes as project.json: reading either fails with its DocumentError or gives a project
// that writes out and reads back as the same project.

#include "FuzzCheck.h"
#include "model/Error.h"
#include "model/ProjectJson.h"

#include <QByteArray>

#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QByteArray bytes(reinterpret_cast<const char *>(data), qsizetype(size));
    quillvane::Project project;
    try {
        project = quillvane::readProjectDocument(bytes);
    } catch (const quillvane::Error &) {
        return 0; // refused with a sentence: what a damaged document should get
    }
    QByteArray written;
    try {
        written = quillvane::writeProjectDocument(project);
    } catch (const quillvane::Error &) {
        return 0; // times that are not finite have no JSON form; the save reports it
    }
    FUZZ_CHECK(quillvane::readProjectDocument(written) == project);
    return 0;
}
