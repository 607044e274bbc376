#include "model/TimeFormat.h"

#include <QStringList>

#include <cmath>

namespace quillvane {

QString clockText(double seconds, ClockUnit unit)
{
    if (!std::isfinite(seconds))
        return QStringLiteral("–:––");
    // To the microsecond first, so a time held as 61.4 (61.39999…) is not cut to 61.39.
    const long long micro = std::llround(std::abs(seconds) * 1e6);
    const long long hundredths = micro / 10000;
    const long long whole = hundredths / 100;
    const bool negative = seconds < 0 && (unit == ClockUnit::hundredths ? hundredths : whole) > 0;
    QString text = QString::asprintf("%s%lld:%02lld", negative ? "-" : "", whole / 60, whole % 60);
    if (unit == ClockUnit::hundredths)
        text += QString::asprintf(".%02lld", hundredths % 100);
    return text;
}

double parseClock(const QString &text)
{
    double seconds = 0;
    const QStringList parts = text.trimmed().split(QLatin1Char(':'));
    if (parts.size() > 3)
        return std::nan("");
    for (qsizetype i = 0; i < parts.size(); ++i) {
        bool ok = false;
        const double value = parts[i].toDouble(&ok);
        if (!ok || value < 0 || !std::isfinite(value) || (i + 1 < parts.size() && value != std::floor(value))
            || (i > 0 && value >= 60))
            return std::nan("");
        seconds = seconds * 60 + value;
    }
    return seconds;
}

} // namespace quillvane
