#pragma once

// Reading side of the document codec: a typed reader over one JSON object that knows where
// it is in the document, for a failure sentence that says what to fix.

#include "model/Error.h"

#include <QByteArray>
#include <QDateTime>
#include <QJsonArray>
#include <QJsonObject>
#include <QJsonValue>
#include <QList>
#include <QString>
#include <QUuid>

#include <functional>
#include <optional>

namespace quillvane {

// A document that does not follow the project format. The sentence names the place, so a
// hand-edited file can be fixed.
class DocumentError : public Error {
public:
    DocumentError(const QString &where, const QString &problem);
};

// A value that has no JSON form: a time that is not a finite number, or a date that is not
// a valid date between the years 1 and 9999.
class EncodingError : public Error {
public:
    explicit EncodingError(const QString &where);
};

// Parses a date in ISO 8601 internet form with whole seconds ("2025-03-14T09:26:53Z", or a
// numeric offset); anything else, fractional seconds included, gives nothing.
std::optional<QDateTime> parseInternetDate(const QString &text);
QString formatInternetDate(const QDateTime &date);

// Reads the members of one object. "required" accessors fail the read when the key is
// absent; the accessors with a fallback take it when the key is absent or null. A key that
// is present with the wrong type always fails the read.
class FieldReader {
public:
    FieldReader(const QJsonValue &value, QString path);

    QString string(const QString &key) const;
    QString string(const QString &key, const QString &fallback) const;
    std::optional<QString> optionalString(const QString &key) const;
    double number(const QString &key) const;
    double number(const QString &key, double fallback) const;
    qint64 integer(const QString &key) const;
    qint64 integer(const QString &key, qint64 fallback) const;
    bool boolean(const QString &key) const;
    bool boolean(const QString &key, bool fallback) const;
    QUuid uuid(const QString &key) const;
    std::optional<QUuid> optionalUuid(const QString &key) const;
    QDateTime date(const QString &key) const;
    std::optional<QDateTime> optionalDate(const QString &key) const;
    QStringList stringList(const QString &key) const;
    QStringList stringList(const QString &key, const QStringList &fallback) const;

    // The member as a nested value, or nothing when absent or null.
    std::optional<QJsonValue> member(const QString &key) const;
    QJsonValue requiredMember(const QString &key) const;

    template <typename T>
    QList<T> list(const QString &key, const std::function<T(const QJsonValue &, const QString &)> &decode,
                  bool required) const
    {
        const auto value = required ? std::optional(requiredMember(key)) : member(key);
        QList<T> result;
        if (!value)
            return result;
        if (!value->isArray())
            fail(key, QStringLiteral("expected an array"));
        const QJsonArray array = value->toArray();
        result.reserve(array.size());
        for (qsizetype i = 0; i < array.size(); ++i)
            result.append(decode(array.at(i), childPath(key) + QStringLiteral("[%1]").arg(i)));
        return result;
    }

    QString childPath(const QString &key) const;
    [[noreturn]] void fail(const QString &key, const QString &problem) const;

private:
    QJsonObject m_object;
    QString m_path;
};

} // namespace quillvane
