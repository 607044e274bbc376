#include "model/PipelineConfig.h"
#include "model/JsonFields.h"

#include <gtest/gtest.h>

#include <optional>

using namespace quillvane;

const QString builtIn = QStringLiteral("https://studio.quillvane.app/api/fal");
const QString custom = QStringLiteral("https://mine.example/api/fal");

TEST(PipelineConfig, NormalisingTheProxyURLGivesTheURLASettingMeans)
{
    const struct {
        const char *name;
        std::optional<QString> raw;
        QString fallback, expected;
    } rows[] = {
        {"nothing with an empty fallback gives the built-in default", std::nullopt, QString(), builtIn},
        {"nothing gives the trimmed fallback", std::nullopt, QStringLiteral("  ") + custom + QStringLiteral("\n"), custom},
        {"http gives the fallback", QStringLiteral("http://studio.quillvane.app/api/fal"), custom, custom},
        {"not a URL gives the fallback", QStringLiteral("https://exa mple.com/%zz"), custom, custom},
        {"the retired host gives the fallback", QStringLiteral("https://proxy.quillvane.app/api/fal"), custom, custom},
        {"default host, path api/fal//", QStringLiteral("https://studio.quillvane.app//api/fal//"), custom, builtIn},
        {"default host keeps another path", QStringLiteral("https://studio.quillvane.app/other/"), custom,
         QStringLiteral("https://studio.quillvane.app/other/")},
        {"default host keeps its query", QStringLiteral("https://studio.quillvane.app/?region=eu"), custom,
         QStringLiteral("https://studio.quillvane.app/api/fal?region=eu")},
        {"other host loses only one trailing slash", QStringLiteral("https://mine.example/custom//"), builtIn,
         QStringLiteral("https://mine.example/custom/")},
        {"scheme in capitals and a port are accepted", QStringLiteral("HTTPS://mine.example:8443/p/"), builtIn,
         QStringLiteral("https://mine.example:8443/p")},
    };
    for (const auto &row : rows)
        EXPECT_EQ(normaliseProxyURL(row.raw, row.fallback), row.expected) << row.name;
}

TEST(PipelineConfig, DefaultsRoundTripAndEveryKeyIsRequired)
{
    const PipelineConfig defaults;
    EXPECT_EQ(defaults.proxyBaseURL, builtIn);
    EXPECT_EQ(pipelineConfigFromJson(toJson(defaults)), defaults);

    for (const QString &key : toJson(defaults).keys()) {
        QJsonObject missing = toJson(defaults);
        missing.remove(key);
        EXPECT_THROW(pipelineConfigFromJson(missing), DocumentError) << key.toStdString();
    }
}

// The project's choice wins; without one the backend decides. A frame whose three checks of
// the scene pass is accepted exactly when its stills carry no words to spell or read.
TEST(LyricsOnScreen, TheEffectiveModeDecidesWhichChecksAFrameStillNeeds)
{
    using L = LyricsOnScreen;
    const struct {
        std::optional<L> chosen;
        Backend backend;
        L effective;
    } rows[] = {
        {std::nullopt, Backend::offline, L::sung}, {std::nullopt, Backend::service, L::painted},
        {L::painted, Backend::offline, L::painted}, {L::sung, Backend::service, L::sung},
        {L::both, Backend::offline, L::both},
    };
    Project project;
    project.chunks = {StoryboardChunk{}};
    project.chunks[0].frame = GeneratedFrame{};
    project.chunks[0].frame->review = {.spellingCorrect = false, .readable = false, .placementOK = true,
                                       .characterConsistent = true, .styleContinuous = true};
    for (const auto &row : rows) {
        project.style.lyricsOnScreen = row.chosen;
        const L lyrics = lyricsOnScreen(project.style, row.backend);
        EXPECT_EQ(lyrics, row.effective) << qPrintable(textValue(row.effective));
        const bool sung = lyrics == L::sung;
        EXPECT_EQ(project.chunks[0].isAccepted(lyrics), sung);
        EXPECT_EQ(project.acceptedCount(lyrics), sung ? 1 : 0);
        EXPECT_EQ(project.allChunksAccepted(lyrics), sung);
    }
}
