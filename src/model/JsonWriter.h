#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <vector>

namespace quillvane {

// Writes pretty-printed JSON straight into a byte buffer (two-space indent, one member per
// line, "key" : value). Objects must be given their keys in ascending order of UTF-8 bytes;
// a key out of order is a programming error and throws std::logic_error, so the document's
// sorted form is checked as it is written instead of being sorted afterwards.
class JsonWriter {
public:
    void beginObject();
    void endObject();
    void beginArray();
    void endArray();

    // Starts the member `name` of the current object; the next value call writes its value.
    JsonWriter &key(const char *name);

    void string(const QString &text);
    // Throws EncodingError for a value that is not finite; `what` names it.
    void number(double value, const char *what);
    void integer(qint64 value);
    void boolean(bool value);
    void stringArray(const QStringList &texts);

    // The finished document, ending with a line feed.
    QByteArray take();

private:
    struct Level {
        bool isObject;
        int count;
        const char *lastKey;
    };

    void beforeValue();
    void newline(size_t depth);
    void close(char bracket);

    QByteArray m_out;
    std::vector<Level> m_levels;
    bool m_afterKey = false;
};

} // namespace quillvane
