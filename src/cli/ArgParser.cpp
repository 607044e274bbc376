#include "cli/ArgParser.h"

#include <algorithm>

namespace quillvane::cli {

std::optional<QString> ParsedArgs::value(const QString &name) const
{
    const auto it = options.constFind(name);
    if (it == options.constEnd())
        return std::nullopt;
    return *it;
}

QStringList ParsedArgs::values(const QString &name) const
{
    QStringList all = options.values(name);
    std::reverse(all.begin(), all.end()); // QMultiMap keeps the latest insertion first
    return all;
}

ParsedArgs parseArgs(const QStringList &arguments, const QList<OptionSpec> &specs)
{
    ParsedArgs parsed;
    bool optionsEnded = false;
    for (qsizetype i = 0; i < arguments.size(); ++i) {
        const QString &argument = arguments.at(i);
        if (optionsEnded || !argument.startsWith(QLatin1String("--"))) {
            parsed.positional.append(argument);
            continue;
        }
        if (argument == QLatin1String("--")) {
            optionsEnded = true;
            continue;
        }
        const qsizetype equals = argument.indexOf(QLatin1Char('='));
        const QString name = argument.mid(2, equals < 0 ? -1 : equals - 2);
        const auto spec = std::find_if(specs.begin(), specs.end(), [&name](const auto &s) { return s.name == name; });
        if (spec == specs.end())
            throw UsageError(QStringLiteral("unknown option --%1").arg(name));
        if (!spec->repeatable && parsed.has(name))
            throw UsageError(QStringLiteral("--%1 is given more than once").arg(name));
        if (!spec->takesValue()) {
            if (equals >= 0)
                throw UsageError(QStringLiteral("--%1 takes no value").arg(name));
            parsed.options.insert(name, QString());
        } else if (equals >= 0) {
            parsed.options.insert(name, argument.mid(equals + 1));
        } else if (i + 1 < arguments.size()) {
            parsed.options.insert(name, arguments.at(++i));
        } else {
            throw UsageError(QStringLiteral("--%1 needs a value (%2)").arg(name, spec->valueName));
        }
    }
    return parsed;
}

qint64 countingNumber(const QString &text, const QString &problem)
{
    bool ok = false;
    const qint64 number = text.toLongLong(&ok);
    if (!ok || number < 1)
        throw UsageError(problem);
    return number;
}

} // namespace quillvane::cli
