#include "ScriptedTranscriber.h"
#include "audio/SystemTranscriber.h"
#include "audio/TranscriptionError.h"
#include "store/BlockingWait.h"

#include <gtest/gtest.h>

using namespace quillvane;

namespace {

struct Outcome {
    QStringList statusLines;
    std::optional<QString> text;  // the result's text
    std::optional<QString> error; // or the failure's sentence
};

Outcome transcribeWith(SystemTranscriber &system)
{
    Outcome outcome;
    try {
        const auto result = blockingWait(system.transcribe(
            QStringLiteral("/music/song.mp3"), [&](QString line) { outcome.statusLines.append(line); }, {}));
        outcome.text = result.text;
    } catch (const Error &error) {
        outcome.error = error.description();
    }
    return outcome;
}

const TranscriptionResult whisperResult{QStringLiteral("from whisper"), {}};
const TranscriptionResult speechResult{QStringLiteral("from speech"), {}};

} // namespace

TEST(SystemTranscriber, PicksAnEngineAndFallsBackWhenWhisperFails)
{
    const QString noOutput = QStringLiteral("Transcription failed: Whisper produced no output.");
    const struct {
        const char *name;
        bool whisperFound;
        bool whisperFails;
        bool speechUsable;
        QString engineName;
        QStringList statusLines;
        std::optional<QString> text;
        std::optional<QString> error;
    } cases[] = {
        {"whisper works", true, false, true, QStringLiteral("Local Whisper"),
         {QStringLiteral("Transcribing with Local Whisper")}, QStringLiteral("from whisper"), std::nullopt},
        {"whisper fails: the built-in engine takes over", true, true, true, QStringLiteral("Local Whisper"),
         {QStringLiteral("Transcribing with Local Whisper"),
          QStringLiteral("Local Whisper failed (") + noOutput + QStringLiteral("); falling back to Built-in Speech"),
          QStringLiteral("Transcribing with Built-in Speech")},
         QStringLiteral("from speech"), std::nullopt},
        {"whisper fails and no fallback: its error", true, true, false, QStringLiteral("Local Whisper"),
         {QStringLiteral("Transcribing with Local Whisper")}, std::nullopt, noOutput},
        {"no whisper, speech usable", false, false, true, QStringLiteral("Built-in Speech"),
         {QStringLiteral("Transcribing with Built-in Speech")}, QStringLiteral("from speech"), std::nullopt},
        {"no engine at all", false, false, false, QStringLiteral("None"), {}, std::nullopt,
         TranscriptionError::noEngineAvailable().description()},
    };
    for (const auto &c : cases) {
        auto whisper = std::make_shared<test::ScriptedTranscriber>(QStringLiteral("Local Whisper"));
        whisper->available = c.whisperFound;
        whisper->respond = [&c](const QString &) {
            if (c.whisperFails)
                throw TranscriptionError::failed(QStringLiteral("Whisper produced no output."));
            return whisperResult;
        };
        auto speech = std::make_shared<test::ScriptedTranscriber>(QStringLiteral("Built-in Speech"));
        speech->available = c.speechUsable;
        speech->respond = [](const QString &) { return speechResult; };
        SystemTranscriber system(whisper, speech);

        EXPECT_EQ(system.name(), c.engineName) << c.name;
        EXPECT_EQ(system.isAvailable(), c.engineName != QStringLiteral("None")) << c.name;
        const Outcome outcome = transcribeWith(system);
        EXPECT_EQ(outcome.statusLines, c.statusLines) << c.name;
        EXPECT_EQ(outcome.text, c.text) << c.name;
        EXPECT_EQ(outcome.error, c.error) << c.name;
    }
}

TEST(SystemTranscriber, ASpeechEngineGoneDuringTheFallbackMeansNoEngine)
{
    auto whisper = std::make_shared<test::ScriptedTranscriber>(QStringLiteral("Local Whisper"));
    whisper->respond = [](const QString &) -> TranscriptionResult { throw std::runtime_error("crashed"); };
    auto speech = std::make_shared<test::ScriptedTranscriber>(QStringLiteral("Built-in Speech"));
    int checks = 0;
    speech->availability = [&checks] { return ++checks == 1; }; // usable once, then not
    SystemTranscriber system(whisper, speech);

    const Outcome outcome = transcribeWith(system);
    EXPECT_EQ(outcome.error, TranscriptionError::noEngineAvailable().description());
    EXPECT_TRUE(speech->calls.isEmpty());
}
