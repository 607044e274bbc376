#include "WhisperStandIn.h"

#include "support/Fixtures.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QUuid>

namespace quillvane::test {

namespace {

QByteArray quoted(const QString &path)
{
    return "'" + path.toUtf8() + "'";
}

// Searches PATH the way which does, but only the folders inside `root`.
QByteArray confinedWhich(const QString &root)
{
    return "#!/bin/sh\n"
           "IFS=:\n"
           "for folder in $PATH; do\n"
           "  case \"$folder\" in " + quoted(root) + "/*)\n"
           "    if [ -f \"$folder/$1\" ] && [ -x \"$folder/$1\" ]; then echo \"$folder/$1\"; exit 0; fi;;\n"
           "  esac\n"
           "done\n"
           "exit 1\n";
}

} // namespace

WhisperMachine::WhisperMachine()
{
    m_places.home = path(QStringLiteral("home"));
    m_places.runtimeDirectory = path(QStringLiteral("runtime"));
    for (QString &place : m_places.systemPlaces)
        place = m_root.path() + place;
    m_places.path = path(QStringLiteral("elsewhere"));
    m_places.whichProgram = install(QStringLiteral("bin/which"), confinedWhich(m_root.path()));
    QDir().mkpath(m_places.home);
}

QString WhisperMachine::writePlain(const QString &relative, const QByteArray &bytes) const
{
    const QString file = path(relative);
    QDir().mkpath(QFileInfo(file).path());
    writeFile(file, bytes);
    return file;
}

QString WhisperMachine::install(const QString &relative, const QByteArray &script) const
{
    const QString file = writePlain(relative, script);
    QFile::setPermissions(file, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner | QFile::ReadGroup
                                    | QFile::ExeGroup | QFile::ReadOther | QFile::ExeOther);
    return file;
}

QString WhisperMachine::installWhisper(const QString &relative, const StandIn &behaviour) const
{
    QByteArray script = "#!/bin/sh\n"
                        "audio=$1\n"
                        "out=\n"
                        "for argument in \"$@\"; do\n"
                        "  if [ \"$previous\" = --output_dir ]; then out=$argument; fi\n"
                        "  previous=$argument\n"
                        "done\n"
                        "name=$(basename \"$audio\")\n"
                        "name=${name%.*}.json\n";
    if (!behaviour.argumentsFile.isEmpty())
        script += "printf '%s\\n' \"$@\" > " + quoted(behaviour.argumentsFile) + "\n";
    if (!behaviour.outputName.isEmpty())
        script += "name=" + quoted(behaviour.outputName) + "\n";
    if (behaviour.floods)
        script += "head -c 2000000 /dev/zero | tr '\\0' x\n"
                  "head -c 2000000 /dev/zero | tr '\\0' x >&2\n";
    if (!behaviour.json.isNull()) {
        const QString source = writePlain(QStringLiteral("stand-in-output/")
                                              + QUuid::createUuid().toString(QUuid::WithoutBraces),
                                          behaviour.json);
        script += "cp " + quoted(source) + " \"$out/$name\" || exit 7\n";
    }
    if (behaviour.crashes)
        script += "kill -SEGV $$\n";
    script += "exit " + QByteArray::number(behaviour.exitCode) + "\n";
    return install(relative, script);
}

QStringList leftoverRunFolders()
{
    return QDir(QDir::tempPath())
        .entryList({QStringLiteral("qv-whisper-*")}, QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot);
}

} // namespace quillvane::test
