// The planner's answer, as a JSON document and as raw text in a string field (where the
// parser digs through fences and prose): either refused with its sentence or a plan whose
// chunks are numbered and timed sensibly.

#include "FuzzCheck.h"
#include "model/Error.h"
#include "generation/PlanParser.h"

#include <QJsonDocument>

#include <cstdint>

namespace {

void parse(const QJsonObject &json)
{
    try {
        const auto parsed = quillvane::PlanParser::parse(json);
        FUZZ_CHECK(!parsed.chunks.isEmpty());
        for (const auto &chunk : parsed.chunks)
            FUZZ_CHECK(!chunk.id.isNull());
    } catch (const quillvane::Error &) {
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QByteArray bytes(reinterpret_cast<const char *>(data), qsizetype(size));
    const QJsonDocument document = QJsonDocument::fromJson(bytes);
    if (document.isObject())
        parse(document.object());
    parse(QJsonObject{{QStringLiteral("output"), QString::fromUtf8(bytes)}});
    return 0;
}
