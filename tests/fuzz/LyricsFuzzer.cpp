// Embedded lyrics of any content: the cleaned text, its lines and its words keep the rules
// the intake and timing stages rely on.

#include "FuzzCheck.h"
#include "audio/Lyrics.h"

#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QString text = QString::fromUtf8(reinterpret_cast<const char *>(data), qsizetype(size));
    const QString cleaned = quillvane::cleanLyrics(text);
    FUZZ_CHECK(quillvane::cleanLyrics(cleaned) == cleaned);
    for (const QString &line : quillvane::lyricLines(text))
        FUZZ_CHECK(!line.isEmpty() && !line.contains(QLatin1Char('\n')) && !line.contains(QLatin1Char('\r')));
    for (const QString &word : quillvane::lyricWords(text))
        FUZZ_CHECK(!word.isEmpty() && word == word.toLower());
    return 0;
}
