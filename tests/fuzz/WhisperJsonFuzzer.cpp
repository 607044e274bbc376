// Whatever a whisper program leaves as its JSON file: refused with the transcription error's
// sentence, or read into chunks with finite times.

#include "FuzzCheck.h"
#include "model/Error.h"
#include "audio/LocalWhisperTranscriber.h"

#include <cmath>
#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QByteArray bytes(reinterpret_cast<const char *>(data), qsizetype(size));
    try {
        const auto result = quillvane::LocalWhisperTranscriber::parseWhisperJSON(bytes);
        for (const auto &chunk : result.chunks)
            FUZZ_CHECK(std::isfinite(chunk.start) && std::isfinite(chunk.end));
    } catch (const quillvane::Error &) {
    }
    return 0;
}
