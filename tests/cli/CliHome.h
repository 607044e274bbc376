#pragma once

// quillvane-cli as a user runs it: a real process on a HOME of its own.

#include "support/Fixtures.h"

#include <QDir>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QTemporaryDir>

#include <chrono>

namespace quillvane::test {

struct CliResult {
    int exitCode = -1;
    QString out;
    QString err;
};

// A command line's words, split at blanks: args("style --mood Quiet").
inline QStringList args(const char *line)
{
    return QString::fromUtf8(line).split(QLatin1Char(' '), Qt::SkipEmptyParts);
}

// One user's machine: HOME and the XDG folders in a temporary folder.
class CliHome {
public:
    CliResult run(const QStringList &arguments, const QByteArray &input = {}) const
    {
        QProcess process;
        process.setProcessEnvironment(processEnvironment());
        process.setWorkingDirectory(workingDirectory);
        process.start(QStringLiteral(QUILLVANE_CLI_PATH), arguments);
        process.write(input);
        process.closeWriteChannel();
        if (!process.waitForFinished(int(timeout.count())))
            return {};
        return {process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1,
                QString::fromUtf8(process.readAllStandardOutput()), QString::fromUtf8(process.readAllStandardError())};
    }

    // The variables the program runs with: this home's folders over the test's own.
    QProcessEnvironment processEnvironment() const
    {
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert(QStringLiteral("HOME"), m_dir.path());
        env.insert(QStringLiteral("XDG_DATA_HOME"), dataHome());
        env.insert(QStringLiteral("XDG_CONFIG_HOME"), configHome());
        env.insert(QStringLiteral("TMPDIR"), m_dir.path());
        return env;
    }

    QJsonObject json(const QStringList &arguments) const
    {
        return QJsonDocument::fromJson(run(QStringList{QStringLiteral("--json")} + arguments).out.toUtf8()).object();
    }

    // Where the program starts; relative paths in its arguments are taken from here.
    QString workingDirectory = QDir::currentPath();

    std::chrono::milliseconds timeout{20000};

    QString dataHome() const { return m_dir.filePath(QStringLiteral("data")); }
    QString configHome() const { return m_dir.filePath(QStringLiteral("config")); }
    QString path(const QString &relative) const { return m_dir.filePath(relative); }
    ProjectLibrary library() const
    {
        return ProjectLibrary(dataHome() + QStringLiteral("/Quillvane/projects"),
                              Preferences(configHome() + QStringLiteral("/Quillvane/Quillvane.conf")));
    }
    Project savedProject() const { return library().loadLastProject().value_or(Project{}); }
    QByteArray savedDocument() const { return test::readFile(library().mediaFor(savedProject().id).projectFile()); }

private:
    QTemporaryDir m_dir;
};

} // namespace quillvane::test
