// The whisper engine against stand-in whisper programs: small shell scripts placed where a
// real installation would be, inside a machine of the test's own.

#include "audio/LocalWhisperTranscriber.h"
#include "audio/TranscriptionError.h"
#include "store/BlockingWait.h"
#include "support/Fixtures.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QScopeGuard>
#include <QTemporaryDir>
#include <QTimer>
#include <QUuid>

#include <gtest/gtest.h>

#include <optional>
#include <variant>

using namespace quillvane;
using namespace std::chrono_literals;

namespace {

QByteArray quoted(const QString &path) { return "'" + path.toUtf8() + "'"; }

// How a stand-in whisper program behaves. It always finds its output folder the way whisper
// does, from the value after "--output_dir".
struct StandIn {
    QByteArray json{};       // copied into the output folder; nothing is written when null
    QString outputName{};    // name of the file it writes; empty: whisper's own rule
    int exitCode = 0;
    bool floods = false;     // writes 2 MB to each of its streams before the JSON
    bool crashes = false;    // dies of SIGSEGV after writing its file (if any)
    QString argumentsFile{}; // where it records its arguments, one a line; empty: nowhere
};

// A machine of its own for the whisper engine: the home folder, the runtime folder, the four
// system places and a folder on the application's PATH all live in one temporary folder,
// laid out as on a real machine ("usr/local/bin/whisper", "home/.local/bin/whisper", ...).
// Its command lookup is a stand-in for which that searches PATH only inside this machine,
// so a whisper installed on the real computer never leaks into a test.
class WhisperMachine {
public:
    WhisperMachine()
    {
        m_places.home = path(QStringLiteral("home"));
        m_places.runtimeDirectory = path(QStringLiteral("runtime"));
        for (QString &place : m_places.systemPlaces)
            place = m_root.path() + place;
        m_places.path = path(QStringLiteral("elsewhere"));
        m_places.whichProgram = install(QStringLiteral("bin/which"),
                                        "#!/bin/sh\nIFS=:\nfor folder in $PATH; do\n  case \"$folder\" in "
                                            + quoted(m_root.path())
                                            + "/*)\n    if [ -f \"$folder/$1\" ] && [ -x \"$folder/$1\" ]; then "
                                              "echo \"$folder/$1\"; exit 0; fi;;\n  esac\ndone\nexit 1\n");
        QDir().mkpath(m_places.home);
    }

    QString path(const QString &relative) const { return m_root.filePath(relative); }
    LocalWhisperTranscriber engine(const QString &model = QStringLiteral("base")) const
    {
        return LocalWhisperTranscriber(model, m_places);
    }

    // Writes a plain file (not executable), creating its folders; returns its absolute path.
    QString writePlain(const QString &relative, const QByteArray &bytes) const
    {
        const QString file = path(relative);
        QDir().mkpath(QFileInfo(file).path());
        test::writeFile(file, bytes);
        return file;
    }

    QString install(const QString &relative, const QByteArray &script) const
    {
        const QString file = writePlain(relative, script);
        QFile::setPermissions(file, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        return file;
    }

    QString installWhisper(const QString &relative, const StandIn &behaviour = {}) const
    {
        QByteArray script = "#!/bin/sh\naudio=$1\nout=\nfor argument in \"$@\"; do\n"
                            "  if [ \"$previous\" = --output_dir ]; then out=$argument; fi\n"
                            "  previous=$argument\ndone\nname=$(basename \"$audio\")\nname=${name%.*}.json\n";
        if (!behaviour.argumentsFile.isEmpty())
            script += "printf '%s\\n' \"$@\" > " + quoted(behaviour.argumentsFile) + "\n";
        if (!behaviour.outputName.isEmpty())
            script += "name=" + quoted(behaviour.outputName) + "\n";
        if (behaviour.floods)
            script += "head -c 2000000 /dev/zero | tr '\\0' x\nhead -c 2000000 /dev/zero | tr '\\0' x >&2\n";
        if (!behaviour.json.isNull()) {
            const QString source = writePlain(QStringLiteral("stand-in-output/") + QUuid::createUuid().toString(),
                                              behaviour.json);
            script += "cp " + quoted(source) + " \"$out/$name\" || exit 7\n";
        }
        if (behaviour.crashes)
            script += "kill -SEGV $$\n";
        return install(relative, script + "exit " + QByteArray::number(behaviour.exitCode) + "\n");
    }

private:
    QTemporaryDir m_root;
    WhisperPlaces m_places;
};

// The per-run folders of the engine still in the temporary directory.
QStringList leftoverRunFolders()
{
    return QDir(QDir::tempPath())
        .entryList({QStringLiteral("qv-whisper-*")}, QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot);
}

const QString noOutput = QStringLiteral("Transcription failed: Whisper produced no output.");

const QByteArray songJson = R"({"text": " Hello there \n", "language": "en", "segments": [
    {"id": 0, "start": 0.0, "end": 1.5, "text": " Hello"},
    {"id": 1, "start": 1.5, "end": 2.25, "text": " there"}]})";
const TranscriptionResult songResult{QStringLiteral("Hello there"),
                                     {{QStringLiteral("Hello"), 0.0, 1.5}, {QStringLiteral("there"), 1.5, 2.25}}};

// What a run gave: its result, or the text of its failure.
using Outcome = std::variant<TranscriptionResult, QString>;

// Runs the engine on track.mp3 of the machine (or `audio`), cancelling it after five seconds:
// a stalled run then fails the test instead of hanging it.
Outcome transcribe(const WhisperMachine &machine, const QString &model = QStringLiteral("base"), QString audio = {})
{
    CancelToken token;
    QTimer::singleShot(5s, [token] { token.cancel(); });
    const auto reported = [](const QString &line) { ADD_FAILURE() << "progress reported: " << line.toStdString(); };
    LocalWhisperTranscriber engine = machine.engine(model);
    try {
        return blockingWait(engine.transcribe(audio.isEmpty() ? machine.path(QStringLiteral("track.mp3")) : audio,
                                              reported, token));
    } catch (const Cancelled &) {
        return QStringLiteral("stalled");
    } catch (const TranscriptionError &error) {
        return error.description();
    } catch (const Error &error) {
        return QStringLiteral("other error: ") + error.description();
    }
}

QString failure(const Outcome &outcome)
{
    const QString *text = std::get_if<QString>(&outcome);
    return text ? *text : QString();
}

} // namespace

TEST(WhisperDiscovery, FindsTheFirstExecutableInSearchOrder)
{
    // Places relative to the machine, separated by blanks.
    const struct {
        const char *name;
        const char *programs;        // stand-ins installed
        const char *plainFiles;      // files named like whisper but not executable
        const char *folders;         // folders named like whisper
        const char *resolvedRuntime; // content of resolved-runtime.txt, "@" standing for the machine; null: no file
        const char *expected;        // empty: nothing found
    } cases[] = {
        {"the runtime virtual environment beats a system place", "usr/local/bin/whisper runtime/venv/bin/whisper", "",
         "", nullptr, "runtime/venv/bin/whisper"},
        {"a resolved runtime path is used without its newline", "usr/bin/whisper custom/whisper", "", "",
         "@/custom/whisper\n", "custom/whisper"},
        {"a resolved runtime path that is not executable falls through", "usr/bin/whisper", "custom/whisper", "",
         "@/custom/whisper\n", "usr/bin/whisper"},
        {"a folder named whisper is no program", "home/.local/bin/whisper", "", "runtime/venv/bin/whisper", nullptr,
         "home/.local/bin/whisper"},
        {"a conda environment is found", "home/miniforge3/envs/asr/bin/whisper", "", "", nullptr,
         "home/miniforge3/envs/asr/bin/whisper"},
        {"a program only on the application's PATH is found by the lookup", "elsewhere/whisper", "", "", nullptr,
         "elsewhere/whisper"},
        {"nothing anywhere", "", "home/.local/bin/whisper elsewhere/whisper", "usr/bin/whisper", "\n", ""},
    };
    const auto places = [](const char *list) { return QString::fromLatin1(list).split(u' ', Qt::SkipEmptyParts); };
    for (const auto &c : cases) {
        const WhisperMachine machine;
        for (const QString &program : places(c.programs))
            machine.installWhisper(program);
        for (const QString &file : places(c.plainFiles))
            machine.writePlain(file, "#!/bin/sh\n");
        for (const QString &folder : places(c.folders))
            QDir().mkpath(machine.path(folder));
        if (c.resolvedRuntime)
            machine.writePlain(QStringLiteral("runtime/resolved-runtime.txt"),
                               QString::fromLatin1(c.resolvedRuntime).replace(u'@', machine.path({})).toUtf8());
        const auto expected = *c.expected ? std::optional(machine.path(QString::fromLatin1(c.expected))) : std::nullopt;
        EXPECT_EQ(machine.engine().resolveExecutable(), expected) << c.name;
        EXPECT_EQ(machine.engine().isAvailable(), expected.has_value()) << c.name;
    }
}

TEST(WhisperRun, RunsTheFixedCommandLineAndReadsTheFileNamedAfterTheAudio)
{
    const WhisperMachine machine;
    const QString arguments = machine.path(QStringLiteral("arguments.txt"));
    machine.installWhisper(QStringLiteral("usr/bin/whisper"), {.json = songJson, .argumentsFile = arguments});
    QDir().mkpath(machine.path(QStringLiteral("music")));
    const QString before = QDir::currentPath();
    const auto restore = qScopeGuard([&before] { QDir::setCurrent(before); });
    QDir::setCurrent(machine.path(QStringLiteral("music")));

    EXPECT_EQ(transcribe(machine, QStringLiteral("tiny"), QStringLiteral("My Song.final.mp3")), Outcome(songResult));
    const QStringList argv = QString::fromUtf8(test::readFile(arguments)).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    EXPECT_EQ(argv.value(0), machine.path(QStringLiteral("music/My Song.final.mp3"))) << "the audio, made absolute";
    EXPECT_EQ(argv.mid(1, 2), QStringList({QStringLiteral("--model"), QStringLiteral("tiny")}));
    EXPECT_EQ(leftoverRunFolders(), QStringList());
}

TEST(WhisperRun, GivesTheFileOrSaysNoOutputAndLeavesNoFolder)
{
    const struct {
        const char *name;
        StandIn standIn;
        Outcome expected;
    } cases[] = {
        {"writes nothing", {.exitCode = 1}, noOutput},
        {"writes its file under another name", {.json = songJson, .outputName = QStringLiteral("other.json")}, noOutput},
        {"fails after writing its file", {.json = songJson, .exitCode = 2}, songResult},
        {"writes a file that is not JSON", {.json = "Traceback (most recent call last):"}, TranscriptionResult{}},
        {"floods both streams before writing", {.json = songJson, .floods = true}, songResult},
        {"crashes before writing", {.crashes = true}, noOutput},
        {"crashes after writing half its file", {.json = songJson.left(songJson.size() / 2), .crashes = true},
         TranscriptionResult{}},
        {"writes binary garbage", {.json = QByteArray("\x89PNG\r\n\x1a\n\0\0\xff", 11)}, TranscriptionResult{}},
        {"writes blank segments and missing, odd or backward times",
         {.json = R"({"segments": [{"text": " \t ", "start": 0, "end": 1}, {"text": "a", "end": 4.5},
                                   {"text": "b", "start": 2.5}, {"text": "c", "start": 3, "end": 1},
                                   {"text": "d", "start": "1", "end": true}]})"},
         TranscriptionResult{{}, {{QStringLiteral("a"), 0, 4.5}, {QStringLiteral("b"), 2.5, 2.5}, {QStringLiteral("c"), 3, 3},
                                  {QStringLiteral("d"), 0, 0}}}},
    };
    for (const auto &c : cases) {
        const WhisperMachine machine;
        machine.installWhisper(QStringLiteral("runtime/venv/bin/whisper"), c.standIn);
        EXPECT_EQ(transcribe(machine), c.expected) << c.name;
        EXPECT_EQ(leftoverRunFolders(), QStringList()) << c.name;
    }
}

// No program, one whose interpreter is missing, a temporary directory that cannot hold the
// run's folder: each is an error, and no run folder is left behind.
TEST(WhisperRun, WhatCannotStartIsAnErrorAndLeavesNoFolder)
{
    EXPECT_EQ(transcribe(WhisperMachine()), Outcome(TranscriptionError::noEngineAvailable().description()));

    const WhisperMachine brokenInterpreter;
    brokenInterpreter.install(QStringLiteral("usr/bin/whisper"), "#!/nowhere/python3\n");
    const Outcome launch = transcribe(brokenInterpreter);
    EXPECT_TRUE(failure(launch).startsWith(QStringLiteral("other error: "))) << failure(launch).toStdString();
    EXPECT_EQ(leftoverRunFolders(), QStringList());

    const WhisperMachine machine;
    machine.installWhisper(QStringLiteral("usr/bin/whisper"), {.json = songJson});
    const QString notAFolder = machine.writePlain(QStringLiteral("not-a-folder"), "");
    const QByteArray savedTemp = qgetenv("TMPDIR");
    const auto restore = qScopeGuard([&savedTemp] { qputenv("TMPDIR", savedTemp); });
    qputenv("TMPDIR", notAFolder.toUtf8());
    const Outcome outcome = transcribe(machine);
    EXPECT_TRUE(failure(outcome).startsWith(
        QStringLiteral("other error: Could not create the temporary folder %1/qv-whisper-").arg(notAFolder)))
        << failure(outcome).toStdString();
}

TEST(WhisperRun, CancellingEndsTheRunningProgram)
{
    const WhisperMachine machine;
    const QString pidFile = machine.path(QStringLiteral("whisper.pid"));
    machine.install(QStringLiteral("usr/bin/whisper"), "#!/bin/sh\necho $$ > " + quoted(pidFile) + "\nexec sleep 30\n");
    LocalWhisperTranscriber engine = machine.engine();
    const CancelToken token;
    QTimer::singleShot(150ms, [token] { token.cancel(); });

    QElapsedTimer clock;
    clock.start();
    EXPECT_THROW(blockingWait(engine.transcribe(machine.path(QStringLiteral("track.mp3")), {}, token)), Cancelled);
    EXPECT_LT(clock.elapsed(), 2000);
    const QByteArray pid = test::readFile(pidFile).trimmed();
    ASSERT_FALSE(pid.isEmpty());
    EXPECT_FALSE(QFileInfo::exists(QStringLiteral("/proc/") + QString::fromUtf8(pid))) << "still running";
    EXPECT_EQ(leftoverRunFolders(), QStringList());
}
