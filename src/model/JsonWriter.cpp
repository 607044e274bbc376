#include "model/JsonWriter.h"

#include "model/JsonFields.h"

#include <QLocale>

#include <cmath>
#include <cstring>
#include <stdexcept>

namespace quillvane {

void JsonWriter::newline(size_t depth)
{
    m_out += '\n';
    m_out.append(qsizetype(depth * 2), ' ');
}

void JsonWriter::beforeValue()
{
    if (m_afterKey) {
        m_afterKey = false;
        return;
    }
    if (m_levels.empty())
        return;
    Level &level = m_levels.back();
    if (level.isObject)
        throw std::logic_error("JsonWriter: a value inside an object needs a key");
    if (level.count++ > 0)
        m_out += ',';
    newline(m_levels.size());
}

JsonWriter &JsonWriter::key(const char *name)
{
    if (m_levels.empty() || !m_levels.back().isObject || m_afterKey)
        throw std::logic_error("JsonWriter: a key outside an object");
    Level &level = m_levels.back();
    // strcmp compares as unsigned bytes: exactly the UTF-8 byte order.
    if (level.lastKey && std::strcmp(level.lastKey, name) >= 0)
        throw std::logic_error(std::string("JsonWriter: key out of order: ") + name);
    level.lastKey = name;
    if (level.count++ > 0)
        m_out += ',';
    newline(m_levels.size());
    m_out += '"';
    m_out += name;
    m_out += "\" : ";
    m_afterKey = true;
    return *this;
}

void JsonWriter::beginObject()
{
    beforeValue();
    m_out += '{';
    m_levels.push_back({true, 0, nullptr});
}

void JsonWriter::beginArray()
{
    beforeValue();
    m_out += '[';
    m_levels.push_back({false, 0, nullptr});
}

void JsonWriter::close(char bracket)
{
    const bool empty = m_levels.back().count == 0;
    m_levels.pop_back();
    if (!empty)
        newline(m_levels.size());
    m_out += bracket;
}

void JsonWriter::endObject() { close('}'); }
void JsonWriter::endArray() { close(']'); }

void JsonWriter::string(const QString &text)
{
    beforeValue();
    m_out += '"';
    const QChar *chars = text.constData();
    const qsizetype size = text.size();
    qsizetype runStart = -1; // start of a run of characters outside ASCII
    for (qsizetype i = 0; i <= size; ++i) {
        const char16_t c = i < size ? chars[i].unicode() : 0;
        if (i < size && c >= 0x80) {
            if (runStart < 0)
                runStart = i;
            continue;
        }
        if (runStart >= 0) {
            m_out += QStringView(chars + runStart, i - runStart).toUtf8();
            runStart = -1;
        }
        if (i == size)
            break;
        switch (c) {
        case '"': m_out += "\\\""; break;
        case '\\': m_out += "\\\\"; break;
        case '\n': m_out += "\\n"; break;
        case '\r': m_out += "\\r"; break;
        case '\t': m_out += "\\t"; break;
        case '\b': m_out += "\\b"; break;
        case '\f': m_out += "\\f"; break;
        default:
            if (c < 0x20) {
                char escaped[8];
                std::snprintf(escaped, sizeof escaped, "\\u%04x", unsigned(c));
                m_out += escaped;
            } else {
                m_out += char(c);
            }
        }
    }
    m_out += '"';
}

void JsonWriter::number(double value, const char *what)
{
    if (!std::isfinite(value))
        throw EncodingError(QString::fromUtf8(what));
    beforeValue();
    if (value == std::floor(value) && std::fabs(value) < 9.0e15)
        m_out += QByteArray::number(qint64(value));
    else
        m_out += QByteArray::number(value, 'g', QLocale::FloatingPointShortest);
}

void JsonWriter::integer(qint64 value)
{
    beforeValue();
    m_out += QByteArray::number(value);
}

void JsonWriter::boolean(bool value)
{
    beforeValue();
    m_out += value ? "true" : "false";
}

void JsonWriter::stringArray(const QStringList &texts)
{
    beginArray();
    for (const QString &text : texts)
        string(text);
    endArray();
}

QByteArray JsonWriter::take()
{
    if (!m_levels.empty() || m_afterKey)
        throw std::logic_error("JsonWriter: the document is not complete");
    m_out += '\n';
    return std::move(m_out);
}

} // namespace quillvane
