#include "pipeline/GenerationOperations.h"
#include "model/PipelineConfig.h"
#include "support/Fixtures.h"

#include <gtest/gtest.h>

using namespace quillvane;

// A service for this run only is used exactly as given, http included, and never stored.
TEST(GenerationClient, AServiceForThisRunIsUsedAsGivenAndNeverStored)
{
    test::TempLibrary temp;
    ProjectStore store(temp.library());
    store.settings().setProxyBaseURL(QStringLiteral("https://mine.example/custom/"));
    store.settings().chooseForThisRun(std::nullopt, QUrl(QStringLiteral("http://127.0.0.1:8765/studio/")));
    EXPECT_EQ(makeGenerationClient(store).baseURL(), QUrl(QStringLiteral("http://127.0.0.1:8765/studio/")));
    EXPECT_EQ(temp.library().preferences().string(QString::fromUtf8(preferenceKeys::proxyBaseURL)),
              QStringLiteral("https://mine.example/custom"));

    store.settings().chooseForThisRun(std::nullopt, std::nullopt);
    EXPECT_EQ(makeGenerationClient(store).baseURL(), QUrl(QStringLiteral("https://mine.example/custom")));
}
