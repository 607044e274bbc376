// A generation service's result document of any shape: the image URL found, if any, is one
// the client would accept as an image URL.

#include "FuzzCheck.h"
#include "generation/FalClient.h"

#include <QJsonArray>
#include <QJsonDocument>

#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QByteArray bytes(reinterpret_cast<const char *>(data), qsizetype(size));
    const QJsonDocument document = QJsonDocument::fromJson(bytes);
    const QJsonValue value = document.isArray() ? QJsonValue(document.array()) : QJsonValue(document.object());
    if (const auto url = quillvane::FalClient::findImageURL(value))
        FUZZ_CHECK(quillvane::FalClient::isImageURL(*url));
    return 0;
}
