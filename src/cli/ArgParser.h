#pragma once

#include <QList>
#include <QMultiMap>
#include <QString>
#include <QStringList>

#include <exception>
#include <optional>

namespace quillvane::cli {

// A mistake in how the program was called: exit status 2 and a one-line hint.
class UsageError : public std::exception {
public:
    explicit UsageError(QString problem) : m_problem(std::move(problem)) {}
    const QString &problem() const { return m_problem; }
    const char *what() const noexcept override { return "usage error"; }

private:
    QString m_problem;
};

struct OptionSpec {
    QString name;      // without the leading "--"
    QString valueName; // empty for a flag
    QString help;
    bool repeatable = false;

    bool takesValue() const { return !valueName.isEmpty(); }
};

struct ParsedArgs {
    QStringList positional;
    QMultiMap<QString, QString> options; // flags map to an empty value

    bool has(const QString &name) const { return options.contains(name); }
    std::optional<QString> value(const QString &name) const;
    QStringList values(const QString &name) const; // in the order given
};

// Parses "--name value", "--name=value", flags, "--" (everything after is positional) and
// "-" (a positional, for standard input). Throws UsageError on an unknown option, a missing
// value, or a non-repeatable option given twice.
ParsedArgs parseArgs(const QStringList &arguments, const QList<OptionSpec> &specs);

// A number the user counts with (frames, segments): a whole number from 1. Anything else
// throws UsageError with `problem`.
qint64 countingNumber(const QString &text, const QString &problem);

} // namespace quillvane::cli
