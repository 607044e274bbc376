#include "model/JsonFields.h"

#include <QRegularExpression>

#include <cmath>

namespace quillvane {

DocumentError::DocumentError(const QString &where, const QString &problem)
    : Error(QStringLiteral("The project document is not readable (%1: %2).").arg(where, problem))
{
}

EncodingError::EncodingError(const QString &where)
    : Error(QStringLiteral("The project could not be written: %1 holds a value that has no JSON form.").arg(where))
{
}

std::optional<QDateTime> parseInternetDate(const QString &text)
{
    static const QRegularExpression form(QStringLiteral(
        R"(^(\d{4})-(\d{2})-(\d{2})T(\d{2}):(\d{2}):(\d{2})(Z|[+-]\d{2}:\d{2})$)"));
    const auto match = form.match(text);
    if (!match.hasMatch())
        return std::nullopt;
    const QDate date(match.captured(1).toInt(), match.captured(2).toInt(), match.captured(3).toInt());
    const QTime time(match.captured(4).toInt(), match.captured(5).toInt(), match.captured(6).toInt());
    if (!date.isValid() || !time.isValid())
        return std::nullopt;
    int offsetSeconds = 0;
    const QString zone = match.captured(7);
    if (zone != QLatin1String("Z")) {
        const int hours = zone.mid(1, 2).toInt();
        const int minutes = zone.mid(4, 2).toInt();
        if (hours > 23 || minutes > 59)
            return std::nullopt;
        offsetSeconds = (hours * 3600 + minutes * 60) * (zone.startsWith(QLatin1Char('-')) ? -1 : 1);
    }
    return QDateTime(date, time, Qt::OffsetFromUTC, offsetSeconds).toUTC();
}

QString formatInternetDate(const QDateTime &date)
{
    return date.toUTC().toString(QStringLiteral("yyyy-MM-ddTHH:mm:ss'Z'"));
}

FieldReader::FieldReader(const QJsonValue &value, QString path)
    : m_path(std::move(path))
{
    if (!value.isObject())
        throw DocumentError(m_path.isEmpty() ? QStringLiteral("document") : m_path,
                            QStringLiteral("expected an object"));
    m_object = value.toObject();
}

QString FieldReader::childPath(const QString &key) const
{
    return m_path.isEmpty() ? key : m_path + QLatin1Char('.') + key;
}

void FieldReader::fail(const QString &key, const QString &problem) const
{
    throw DocumentError(childPath(key), problem);
}

std::optional<QJsonValue> FieldReader::member(const QString &key) const
{
    const auto it = m_object.constFind(key);
    if (it == m_object.constEnd() || it->isNull())
        return std::nullopt;
    return *it;
}

QJsonValue FieldReader::requiredMember(const QString &key) const
{
    auto value = member(key);
    if (!value)
        fail(key, QStringLiteral("missing"));
    return *value;
}

namespace {

QString asString(const FieldReader &reader, const QString &key, const QJsonValue &value)
{
    if (!value.isString())
        reader.fail(key, QStringLiteral("expected a string"));
    return value.toString();
}

double asNumber(const FieldReader &reader, const QString &key, const QJsonValue &value)
{
    if (!value.isDouble())
        reader.fail(key, QStringLiteral("expected a number"));
    return value.toDouble();
}

qint64 asInteger(const FieldReader &reader, const QString &key, const QJsonValue &value)
{
    if (!value.isDouble())
        reader.fail(key, QStringLiteral("expected a whole number"));
    const double d = value.toDouble();
    // Whole numbers only, within the range a 64-bit integer holds exactly through a double.
    if (d != std::floor(d) || std::fabs(d) > 9.0e15)
        reader.fail(key, QStringLiteral("expected a whole number"));
    return value.toInteger(qint64(d));
}

bool asBoolean(const FieldReader &reader, const QString &key, const QJsonValue &value)
{
    if (!value.isBool())
        reader.fail(key, QStringLiteral("expected true or false"));
    return value.toBool();
}

QUuid asUuid(const FieldReader &reader, const QString &key, const QJsonValue &value)
{
    static const QRegularExpression canonical(QStringLiteral(
        "^[0-9A-Fa-f]{8}-[0-9A-Fa-f]{4}-[0-9A-Fa-f]{4}-[0-9A-Fa-f]{4}-[0-9A-Fa-f]{12}$"));
    const QString text = asString(reader, key, value);
    if (!canonical.match(text).hasMatch())
        reader.fail(key, QStringLiteral("expected a UUID"));
    return QUuid::fromString(text);
}

QDateTime asDate(const FieldReader &reader, const QString &key, const QJsonValue &value)
{
    const auto date = parseInternetDate(asString(reader, key, value));
    if (!date)
        reader.fail(key, QStringLiteral("expected a date such as 2025-03-14T09:26:53Z"));
    return *date;
}

} // namespace

QString FieldReader::string(const QString &key) const { return asString(*this, key, requiredMember(key)); }
double FieldReader::number(const QString &key) const { return asNumber(*this, key, requiredMember(key)); }
qint64 FieldReader::integer(const QString &key) const { return asInteger(*this, key, requiredMember(key)); }
bool FieldReader::boolean(const QString &key) const { return asBoolean(*this, key, requiredMember(key)); }
QUuid FieldReader::uuid(const QString &key) const { return asUuid(*this, key, requiredMember(key)); }
QDateTime FieldReader::date(const QString &key) const { return asDate(*this, key, requiredMember(key)); }

QString FieldReader::string(const QString &key, const QString &fallback) const
{
    const auto value = member(key);
    return value ? asString(*this, key, *value) : fallback;
}

std::optional<QString> FieldReader::optionalString(const QString &key) const
{
    const auto value = member(key);
    return value ? std::optional(asString(*this, key, *value)) : std::nullopt;
}

double FieldReader::number(const QString &key, double fallback) const
{
    const auto value = member(key);
    return value ? asNumber(*this, key, *value) : fallback;
}

qint64 FieldReader::integer(const QString &key, qint64 fallback) const
{
    const auto value = member(key);
    return value ? asInteger(*this, key, *value) : fallback;
}

bool FieldReader::boolean(const QString &key, bool fallback) const
{
    const auto value = member(key);
    return value ? asBoolean(*this, key, *value) : fallback;
}

std::optional<QUuid> FieldReader::optionalUuid(const QString &key) const
{
    const auto value = member(key);
    return value ? std::optional(asUuid(*this, key, *value)) : std::nullopt;
}

std::optional<QDateTime> FieldReader::optionalDate(const QString &key) const
{
    const auto value = member(key);
    return value ? std::optional(asDate(*this, key, *value)) : std::nullopt;
}

QStringList FieldReader::stringList(const QString &key) const
{
    return list<QString>(
        key, [this, &key](const QJsonValue &v, const QString &) { return asString(*this, key, v); }, true);
}

QStringList FieldReader::stringList(const QString &key, const QStringList &fallback) const
{
    if (!member(key))
        return fallback;
    return stringList(key);
}

} // namespace quillvane
