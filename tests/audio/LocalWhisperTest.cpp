// The whisper engine against stand-in whisper programs: small shell scripts placed where a
// real installation would be, inside a machine of the test's own.

#include "WhisperStandIn.h"

#include "audio/LocalWhisperTranscriber.h"
#include "audio/TranscriptionError.h"
#include "store/BlockingWait.h"
#include "support/Fixtures.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QScopeGuard>
#include <QTimer>

#include <gtest/gtest.h>

#include <optional>
#include <variant>

using namespace quillvane;
using namespace std::chrono_literals;

namespace {

const QString noOutput = QStringLiteral("Transcription failed: Whisper produced no output.");

const QByteArray songJson = R"({"text": " Hello there \n", "language": "en", "segments": [
    {"id": 0, "start": 0.0, "end": 1.5, "text": " Hello"},
    {"id": 1, "start": 1.5, "end": 2.25, "text": " there"}]})";
const TranscriptionResult songResult{QStringLiteral("Hello there"),
                                     {{QStringLiteral("Hello"), 0.0, 1.5}, {QStringLiteral("there"), 1.5, 2.25}}};

// What a run gave: its result, or the text of its failure.
using Outcome = std::variant<TranscriptionResult, QString>;

// Runs the engine, cancelling it after `limit`: a stalled run then fails the test instead of
// hanging it.
Outcome transcribeWithin(LocalWhisperTranscriber engine, const QString &audio, std::chrono::milliseconds limit = 5s)
{
    CancelToken token;
    QTimer::singleShot(limit, [token] { token.cancel(); });
    const auto reported = [](const QString &line) { ADD_FAILURE() << "progress reported: " << line.toStdString(); };
    try {
        return blockingWait(engine.transcribe(audio, reported, token));
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

// --- Finding the program ---

struct DiscoveryCase {
    const char *name;
    QStringList programs;     // stand-ins installed, relative to the machine
    QStringList plainFiles;   // files named like whisper but not executable
    QStringList folders;      // folders named like whisper
    QString resolvedRuntime;  // content of resolved-runtime.txt, "@" standing for the machine; null: no file
    QString expected;         // relative to the machine; empty: nothing found
};

class WhisperDiscovery : public testing::TestWithParam<DiscoveryCase> {};

const DiscoveryCase discoveryCases[] = {
    {"the runtime virtual environment beats a system place",
     {QStringLiteral("usr/local/bin/whisper"), QStringLiteral("runtime/venv/bin/whisper")}, {}, {}, {},
     QStringLiteral("runtime/venv/bin/whisper")},
    {"a resolved runtime path is used without its newline",
     {QStringLiteral("usr/bin/whisper"), QStringLiteral("custom/whisper")}, {}, {},
     QStringLiteral("@/custom/whisper\n"), QStringLiteral("custom/whisper")},
    {"a resolved runtime path that is not executable falls through",
     {QStringLiteral("usr/bin/whisper")}, {QStringLiteral("custom/whisper")}, {}, QStringLiteral("@/custom/whisper\n"),
     QStringLiteral("usr/bin/whisper")},
    {"a folder named whisper is no program",
     {QStringLiteral("home/.local/bin/whisper")}, {}, {QStringLiteral("runtime/venv/bin/whisper")}, {},
     QStringLiteral("home/.local/bin/whisper")},
    {"a conda environment is found", {QStringLiteral("home/miniforge3/envs/asr/bin/whisper")}, {}, {}, {},
     QStringLiteral("home/miniforge3/envs/asr/bin/whisper")},
    {"a program only on the application's PATH is found by the lookup", {QStringLiteral("elsewhere/whisper")},
     {}, {}, {}, QStringLiteral("elsewhere/whisper")},
    {"nothing anywhere", {}, {QStringLiteral("home/.local/bin/whisper"), QStringLiteral("elsewhere/whisper")},
     {QStringLiteral("usr/bin/whisper")}, QStringLiteral("\n"), {}},
};

TEST_P(WhisperDiscovery, FindsTheFirstExecutableInSearchOrder)
{
    const DiscoveryCase &c = GetParam();
    const test::WhisperMachine machine;
    for (const QString &program : c.programs)
        machine.installWhisper(program);
    for (const QString &file : c.plainFiles)
        machine.writePlain(file, "#!/bin/sh\n");
    for (const QString &folder : c.folders)
        QDir().mkpath(machine.path(folder));
    if (!c.resolvedRuntime.isNull())
        machine.writePlain(QStringLiteral("runtime/resolved-runtime.txt"),
                           QString(c.resolvedRuntime).replace(QLatin1Char('@'), machine.path({})).toUtf8());

    const LocalWhisperTranscriber engine(QStringLiteral("base"), machine.places());
    const std::optional<QString> expected =
        c.expected.isEmpty() ? std::nullopt : std::optional(machine.path(c.expected));
    EXPECT_EQ(engine.resolveExecutable(), expected);
    EXPECT_EQ(engine.isAvailable(), expected.has_value());
}

INSTANTIATE_TEST_SUITE_P(Places, WhisperDiscovery, testing::ValuesIn(discoveryCases),
                         [](const auto &info) { return test::testName(info.param.name); });

// --- Running it ---

TEST(WhisperRun, RunsTheFixedCommandLineAndReadsTheFileNamedAfterTheAudio)
{
    const test::WhisperMachine machine;
    const QString arguments = machine.path(QStringLiteral("arguments.txt"));
    machine.installWhisper(QStringLiteral("usr/bin/whisper"), {.json = songJson, .argumentsFile = arguments});
    QDir().mkpath(machine.path(QStringLiteral("music")));
    const QString before = QDir::currentPath();
    const auto restore = qScopeGuard([&before] { QDir::setCurrent(before); });
    QDir::setCurrent(machine.path(QStringLiteral("music")));

    const Outcome outcome = transcribeWithin(LocalWhisperTranscriber(QStringLiteral("tiny"), machine.places()),
                                             QStringLiteral("My Song.final.mp3"));

    EXPECT_EQ(outcome, Outcome(songResult));
    const QStringList argv = QString::fromUtf8(test::readFile(arguments)).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    EXPECT_EQ(argv.value(0), machine.path(QStringLiteral("music/My Song.final.mp3"))) << "the audio, made absolute";
    EXPECT_EQ(argv.mid(1, 2), QStringList({QStringLiteral("--model"), QStringLiteral("tiny")}));
    EXPECT_EQ(test::leftoverRunFolders(), QStringList());
}

struct RunCase {
    const char *name;
    test::StandIn standIn;
    Outcome expected;
};

class WhisperRunOutcome : public testing::TestWithParam<RunCase> {};

const RunCase runCases[] = {
    {"writes nothing", {.exitCode = 1}, noOutput},
    {"writes its file under another name", {.json = songJson, .outputName = QStringLiteral("other.json")}, noOutput},
    {"fails after writing its file", {.json = songJson, .exitCode = 2}, songResult},
    {"writes a file that is not JSON", {.json = "Traceback (most recent call last):"}, TranscriptionResult{}},
    {"floods both streams before writing", {.json = songJson, .floods = true}, songResult},
    {"crashes before writing", {.crashes = true}, noOutput},
    {"crashes after writing half its file", {.json = songJson.left(songJson.size() / 2), .crashes = true}, TranscriptionResult{}},
    {"writes binary garbage", {.json = QByteArray("\x89PNG\r\n\x1a\n\0\0\xff", 11)}, TranscriptionResult{}},
    {"writes blank segments and missing, odd or backward times",
     {.json = R"({"segments": [{"text": " \t ", "start": 0, "end": 1}, {"text": "a", "end": 4.5},
                               {"text": "b", "start": 2.5}, {"text": "c", "start": 3, "end": 1},
                               {"text": "d", "start": "1", "end": true}]})"},
     TranscriptionResult{{}, {{QStringLiteral("a"), 0, 4.5}, {QStringLiteral("b"), 2.5, 2.5}, {QStringLiteral("c"), 3, 3},
                              {QStringLiteral("d"), 0, 0}}}},
};

TEST_P(WhisperRunOutcome, GivesTheFileOrSaysNoOutputAndLeavesNoFolder)
{
    const RunCase &c = GetParam();
    const test::WhisperMachine machine;
    machine.installWhisper(QStringLiteral("runtime/venv/bin/whisper"), c.standIn);

    EXPECT_EQ(transcribeWithin(LocalWhisperTranscriber(QStringLiteral("base"), machine.places()),
                               machine.path(QStringLiteral("track.mp3"))),
              c.expected);
    EXPECT_EQ(test::leftoverRunFolders(), QStringList());
}

INSTANTIATE_TEST_SUITE_P(StandIns, WhisperRunOutcome, testing::ValuesIn(runCases),
                         [](const auto &info) { return test::testName(info.param.name); });

TEST(WhisperRun, NoProgramOrOneThatCannotLaunchIsAnErrorAndLeavesNoFolder)
{
    const test::WhisperMachine nothingInstalled;
    EXPECT_EQ(transcribeWithin(LocalWhisperTranscriber(QStringLiteral("base"), nothingInstalled.places()),
                               nothingInstalled.path(QStringLiteral("track.mp3"))),
              Outcome(TranscriptionError::noEngineAvailable().description()));

    const test::WhisperMachine brokenInterpreter;
    brokenInterpreter.install(QStringLiteral("usr/bin/whisper"), "#!/nowhere/python3\n");
    const Outcome launch = transcribeWithin(LocalWhisperTranscriber(QStringLiteral("base"), brokenInterpreter.places()),
                                            brokenInterpreter.path(QStringLiteral("track.mp3")));
    EXPECT_TRUE(failure(launch).startsWith(QStringLiteral("other error: "))) << failure(launch).toStdString();
    EXPECT_EQ(test::leftoverRunFolders(), QStringList());
}

TEST(WhisperRun, ATemporaryDirectoryThatCannotHoldTheRunFolderIsAnError)
{
    const test::WhisperMachine machine;
    machine.installWhisper(QStringLiteral("usr/bin/whisper"), {.json = songJson});
    const QString notAFolder = machine.writePlain(QStringLiteral("not-a-folder"), "");
    const QByteArray savedTemp = qgetenv("TMPDIR");
    const auto restore = qScopeGuard([&savedTemp] { qputenv("TMPDIR", savedTemp); });
    qputenv("TMPDIR", notAFolder.toUtf8());

    const Outcome outcome = transcribeWithin(LocalWhisperTranscriber(QStringLiteral("base"), machine.places()),
                                             machine.path(QStringLiteral("track.mp3")));
    EXPECT_TRUE(failure(outcome).startsWith(
        QStringLiteral("other error: Could not create the temporary folder %1/qv-whisper-").arg(notAFolder)))
        << failure(outcome).toStdString();
}

TEST(WhisperRun, CancellingEndsTheRunningProgram)
{
    const test::WhisperMachine machine;
    const QString pidFile = machine.path(QStringLiteral("whisper.pid"));
    machine.install(QStringLiteral("usr/bin/whisper"),
                    "#!/bin/sh\necho $$ > '" + pidFile.toUtf8() + "'\nexec sleep 30\n");
    LocalWhisperTranscriber engine(QStringLiteral("base"), machine.places());
    const CancelToken token;
    QTimer::singleShot(150ms, [token] { token.cancel(); });

    QElapsedTimer clock;
    clock.start();
    EXPECT_THROW(blockingWait(engine.transcribe(machine.path(QStringLiteral("track.mp3")), {}, token)), Cancelled);
    EXPECT_LT(clock.elapsed(), 2000);
    const QByteArray pid = test::readFile(pidFile).trimmed();
    ASSERT_FALSE(pid.isEmpty());
    EXPECT_FALSE(QFileInfo::exists(QStringLiteral("/proc/") + QString::fromUtf8(pid))) << "still running";
    EXPECT_EQ(test::leftoverRunFolders(), QStringList());
}
