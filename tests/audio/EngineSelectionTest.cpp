// Engine selection over real parts: stand-in whisper programs on a machine of their own, and
// the built-in recognizer with the real speech model.

#include "WhisperStandIn.h"
#include "audio/SpeechTranscriber.h"
#include "audio/SystemTranscriber.h"
#include "store/BlockingWait.h"

#include <QProcess>

#include <gtest/gtest.h>

using namespace quillvane;

namespace {

SystemTranscriber transcriberOn(const test::WhisperMachine &machine)
{
    return SystemTranscriber(std::make_shared<LocalWhisperTranscriber>(QStringLiteral("base"), machine.places()),
                             std::make_shared<SpeechTranscriber>());
}

} // namespace

TEST(EngineSelection, AWhisperThatWritesNothingFallsBackToTheBuiltInEngine)
{
    const test::WhisperMachine machine;
    machine.installWhisper(QStringLiteral("home/.local/bin/whisper"), {}); // writes no JSON
    const QString speech = machine.path(QStringLiteral("phrase.wav"));
    ASSERT_EQ(QProcess::execute(QStringLiteral("espeak-ng"),
                                {QStringLiteral("-w"), speech, QStringLiteral("hold my hand and do not let go")}),
              0);

    SystemTranscriber system = transcriberOn(machine);
    QStringList status;
    const TranscriptionResult heard =
        blockingWait(system.transcribe(speech, [&status](QString line) { status.append(line); }, {}));

    EXPECT_EQ(status, (QStringList{QStringLiteral("Transcribing with Local Whisper"),
                                   QStringLiteral("Local Whisper failed (Transcription failed: Whisper produced no "
                                                  "output.); falling back to Built-in Speech"),
                                   QStringLiteral("Transcribing with Built-in Speech")}));
    EXPECT_FALSE(heard.text.isEmpty());
    EXPECT_FALSE(heard.chunks.isEmpty());
}
