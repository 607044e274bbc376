#include "model/Text.h"

namespace quillvane {

bool isNewline(QChar c)
{
    switch (c.unicode()) {
    case 0x0A:
    case 0x0B:
    case 0x0C:
    case 0x0D:
    case 0x85:
    case 0x2028:
    case 0x2029:
        return true;
    default:
        return false;
    }
}

QString trimBlanks(const QString &text)
{
    const auto isBlank = [](QChar c) { return c.isSpace() && !isNewline(c); };
    qsizetype first = 0;
    qsizetype last = text.size();
    while (first < last && isBlank(text.at(first)))
        ++first;
    while (last > first && isBlank(text.at(last - 1)))
        --last;
    return text.mid(first, last - first);
}

QString withoutClosingPunctuation(const QString &text)
{
    QString result = text.trimmed();
    while (!result.isEmpty() && QStringView(u".,;:").contains(result.back()))
        result = result.chopped(1).trimmed();
    return result;
}

} // namespace quillvane
