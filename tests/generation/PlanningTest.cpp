// Storyboard planning against a real HTTP server on loopback: what is checked before anything
// is sent, what the planner receives, what the user sees while the job waits, and how a new
// storyboard replaces the old one without losing the frames already made.

#include "generation/FalClient.h"
#include "pipeline/GenerationOperations.h"
#include "model/PipelineConfig.h"
#include "store/BlockingWait.h"
#include "support/Fixtures.h"
#include "support/LoopbackServer.h"

#include <QImage>
#include <QJsonArray>
#include <QJsonDocument>

#include <gtest/gtest.h>

using namespace quillvane;
using namespace quillvane::test;
using namespace std::chrono_literals;

namespace {

const QString plannerPath = QStringLiteral("/workflows/brackenfold/lyric-video-planner-character");
const QString queuePath = QStringLiteral("/queue/requests/plan-1");

TranscriptSegment segment(const char *text, double start, double end)
{
    return {QUuid::createUuid(), QString::fromUtf8(text), start, end, {}};
}

GeneratedFrame frameNamed(const char *prompt)
{
    GeneratedFrame frame;
    frame.prompt = QString::fromUtf8(prompt);
    return frame;
}

StoryboardChunk oldChunk(qint64 number, const char *lyric, const char *frame)
{
    StoryboardChunk chunk;
    chunk.chunkNumber = number;
    chunk.index = number - 1;
    chunk.lyricExcerpt = QString::fromUtf8(lyric);
    chunk.frame = frameNamed(frame);
    return chunk;
}

struct PlanningFixture {
    TempLibrary temp;
    QString imagePath = temp.path(QStringLiteral("jacket.png"));
    std::unique_ptr<ProjectStore> store;

    explicit PlanningFixture(const QUrl &service, const std::function<void(Project &, const QString &imagePath)> &arrange = {})
    {
        QImage image(40, 20, QImage::Format_RGB32);
        image.fill(Qt::red);
        image.save(imagePath);
        Project project;
        project.artist = QStringLiteral("The Marker Kids");
        project.transcript = {segment("City lights are burning low", 12.34, 15.0),
                              segment("Hold the line", 15.0, 17.5)};
        CharacterReference character;
        character.name = QStringLiteral("Rae");
        character.referenceImagePaths = {imagePath};
        project.characters = {character};
        if (arrange)
            arrange(project, imagePath);
        StoreOptions options;
        options.generationPollInterval = 1ms;
        store = std::make_unique<ProjectStore>(temp.library(), project, PipelineServices{}, options);
        store->settings().chooseForThisRun(std::nullopt, service);
    }
};

// One server for the whole suite: the shared HTTP session keeps its connections alive, and
// each server waits them out when it stops.
class PlanningRun : public testing::Test {
protected:
    static void SetUpTestSuite() { server = new LoopbackServer; }
    static void TearDownTestSuite()
    {
        delete server;
        server = nullptr;
    }
    static inline LoopbackServer *server = nullptr;

    static void scriptJob(const QList<ScriptedReply> &polls, const QByteArray &result)
    {
        server->script(QStringLiteral("POST"), plannerPath,
                       {reply(R"({"request_id":"plan-1","status_url":"https://queue.fal.run/queue/requests/plan-1/status",)"
                              R"("response_url":"https://queue.fal.run/queue/requests/plan-1"})")});
        server->script(QStringLiteral("GET"), queuePath + QStringLiteral("/status"), polls);
        server->script(QStringLiteral("GET"), queuePath, {reply(result)});
    }
};

TEST_F(PlanningRun, AMissingInputFailsBeforeAnythingIsSentAndKeepsTheStoryboard)
{
    const struct {
        const char *name;
        std::function<void(Project &, const QString &)> arrange;
        PipelineError::Case expected;
    } cases[] = {
        {"no transcript comes first, even without a character",
         [](Project &p, const QString &) {
             p.transcript.clear();
             p.characters.clear();
         },
         PipelineError::Case::emptyLyrics},
        {"no character", [](Project &p, const QString &) { p.characters.clear(); }, PipelineError::Case::missingCharacter},
        {"only unreadable images",
         [](Project &p, const QString &image) {
             p.characters.first().referenceImagePaths = {image + QStringLiteral(".missing"), QStringLiteral("/etc/hostname")};
         },
         PipelineError::Case::missingCharacter},
    };
    const qsizetype sent = server->requests().size();
    for (const auto &c : cases) {
        PlanningFixture f(server->baseURL(), c.arrange);
        f.store->editProject([](Project &p) { p.chunks = {oldChunk(1, "a", "kept")}; });
        const Project before = f.store->project();

        blockingWait(startPlanning(*f.store));

        EXPECT_EQ(f.store->session().lastError(), PipelineError::message(c.expected)) << c.name;
        EXPECT_TRUE(f.store->project() == before) << c.name;
    }
    EXPECT_EQ(server->requests().size(), sent);
}

// Prose and a fenced plan inside a string, as a language model tends to answer.
const QByteArray replan = R"({"output":"Here is the storyboard:\n```json\n{\"artDirectionStatement\":\"wet brick\",)"
                          R"(\"elementIds\":[{\"id\":\"jacket\"},{\"id\":\"bus\"}],\"frames\":[)"
                          R"({\"chunkNumber\":3,\"lyricExcerpt\":\"changed\"},)"
                          R"({\"chunkNumber\":9,\"lyricExcerpt\":\"b\"},)"
                          R"({\"chunkNumber\":5,\"lyricExcerpt\":\"e\"}]}\n```"})";

TEST_F(PlanningRun, SendsTheProjectShowsTheQueueAndKeepsMatchingFrames)
{
    PlanningFixture f(server->baseURL(), [](Project &p, const QString &) {
        p.updatedAt = QDateTime::fromSecsSinceEpoch(1'600'000'000, Qt::UTC);
        StoryboardChunk three = oldChunk(3, "c", "three");
        three.undoStack = {frameNamed("three before")};
        three.redoStack = {frameNamed("three after")};
        // Later duplicates of a number or a lyric lose to the first chunk with that key.
        p.chunks = {oldChunk(1, "a", "one"), oldChunk(2, "b", "two"), three, oldChunk(3, "x", "three again"),
                    oldChunk(4, "b", "four")};
    });
    const Project before = f.store->project();
    scriptJob({reply(R"({"status":"IN_QUEUE","queue_position":2})"), reply(R"({"status":"IN_QUEUE","queue_position":0})"),
               reply(R"({"status":"COMPLETED"})")},
              replan);
    QStringList shown;
    QObject::connect(&f.store->session(), &TaskSession::runningTaskChanged, [&] {
        if (const auto task = f.store->session().runningTask())
            shown.append(*task);
    });

    blockingWait(startPlanning(*f.store));
    processEventsUntil([&] { return shown.size() >= 2; }, 1s);

    ASSERT_EQ(f.store->session().lastError(), std::nullopt);
    EXPECT_EQ(shown, (QStringList{QStringLiteral("Planning storyboard"), QStringLiteral("In queue (position 2)")}));
    EXPECT_EQ(f.store->session().runningTask(), std::nullopt);

    ASSERT_EQ(server->count(QStringLiteral("POST"), plannerPath), 1);
    QJsonObject sent;
    for (const RecordedRequest &request : server->requests())
        if (request.method == QStringLiteral("POST"))
            sent = QJsonDocument::fromJson(request.body).object();
    // Exactly the five keys: the latest end rounded half away from zero, starts to a tenth.
    EXPECT_EQ(sent, (QJsonObject{{QStringLiteral("artist"), QStringLiteral("The Marker Kids")},
                                 {QStringLiteral("duration_seconds"), 18},
                                 {QStringLiteral("transcript"),
                                  QStringLiteral("[12.3-15.0] City lights are burning low\n[15.0-17.5] Hold the line")},
                                 {QStringLiteral("style_guidance"), before.style.continuityNotes},
                                 {QStringLiteral("image_urls"), QJsonArray{*imageDataURL(f.imagePath)}}}));

    const Project &after = f.store->project();
    ASSERT_TRUE(after.plan);
    EXPECT_EQ(after.plan->artDirectionStatement, QStringLiteral("wet brick"));
    EXPECT_EQ(after.plan->elements.size(), 2);
    EXPECT_GT(after.updatedAt, before.updatedAt);
    ASSERT_EQ(after.chunks.size(), 3);
    // Chunk 3 keeps its history by number though its lyric changed; chunk 9 takes old chunk
    // 2's frame by lyric; chunk 5 matches nothing. Old chunks 1 and 4 are gone.
    EXPECT_EQ(after.chunks[0].lyricExcerpt, QStringLiteral("changed"));
    EXPECT_EQ(after.chunks[0].frame, before.chunks[2].frame);
    EXPECT_EQ(after.chunks[0].undoStack, before.chunks[2].undoStack);
    EXPECT_EQ(after.chunks[0].redoStack, before.chunks[2].redoStack);
    EXPECT_EQ(after.chunks[1].chunkNumber, 9);
    EXPECT_EQ(after.chunks[1].frame, before.chunks[1].frame);
    EXPECT_TRUE(after.chunks[1].undoStack.isEmpty());
    EXPECT_FALSE(after.chunks[2].frame);
    for (const StoryboardChunk &chunk : after.chunks)
        EXPECT_NE(chunk.id, before.chunks[2].id) << "chunks come from the plan, only the frames carry over";
}

TEST_F(PlanningRun, AFailedRunLeavesTheStoryboardUntouched)
{
    const struct {
        const char *name;
        QByteArray status;
        QByteArray result;
        QString expectedError;
    } cases[] = {
        {"the job failed", R"({"status":"FAILED"})", replan, QStringLiteral("Generation failed (FAILED).")},
        {"the result has no frames", R"({"status":"COMPLETED"})", R"({"output":"I could not plan this."})",
         PipelineError::message(PipelineError::Case::noChunks)},
        {"the result is not an object", R"({"status":"COMPLETED"})", R"([{"frames":[{"chunkNumber":1}]}])",
         PipelineError::message(PipelineError::Case::noChunks)},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        PlanningFixture f(server->baseURL(), [](Project &p, const QString &) {
            p.plan = StoryboardPlan{};
            p.plan->motif = QStringLiteral("old motif");
            p.chunks = {oldChunk(3, "c", "three")};
        });
        const Project before = f.store->project();
        scriptJob({reply(c.status)}, c.result);

        blockingWait(startPlanning(*f.store));

        EXPECT_EQ(f.store->session().lastError(), c.expectedError);
        EXPECT_TRUE(f.store->project() == before);
    }
}

// A service for this run only is used exactly as given, http included, and never stored.
TEST(GenerationClient, AServiceForThisRunIsUsedAsGivenAndNeverStored)
{
    TempLibrary temp;
    ProjectStore store(temp.library());
    store.settings().setProxyBaseURL(QStringLiteral("https://mine.example/custom/"));
    store.settings().chooseForThisRun(std::nullopt, QUrl(QStringLiteral("http://127.0.0.1:8765/studio/")));
    EXPECT_EQ(makeGenerationClient(store).baseURL(), QUrl(QStringLiteral("http://127.0.0.1:8765/studio/")));
    EXPECT_EQ(temp.library().preferences().string(QString::fromUtf8(preferenceKeys::proxyBaseURL)),
              QStringLiteral("https://mine.example/custom"));
    store.settings().chooseForThisRun(std::nullopt, std::nullopt);
    EXPECT_EQ(makeGenerationClient(store).baseURL(), QUrl(QStringLiteral("https://mine.example/custom")));
}

} // namespace
