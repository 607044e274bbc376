// Storyboard planning: how the planner's answer is read, what is checked before anything is
// sent, what the planner receives, and how a new storyboard keeps the frames already made.

#include "ServiceTest.h"
#include "generation/PlanParser.h"
#include "model/PipelineConfig.h"

#include <QImage>

using namespace quillvane;
using namespace quillvane::test;
using namespace std::chrono_literals;

namespace {

const QString plannerPath = QStringLiteral("/workflows/brackenfold/lyric-video-planner-character");

PlanParser::Parsed parse(const QByteArray &text)
{
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(text, &error);
    EXPECT_EQ(error.error, QJsonParseError::NoError) << text.constData();
    return PlanParser::parse(document.object());
}

TEST(PlanParser, FindsThePlanWhereverThePlannerPutItOrFailsWithNoChunks)
{
    const char *const cases[][2] = {
        // the planner's answer, and the first chunk's lyric (none: no chunks)
        {R"({"frames":[{"lyricExcerpt":"a"}]})", "a"},
        {R"({"output":{"plan":{"frames":[{"lyricExcerpt":"b"}]}}})", "b"},
        {R"({"text":"Here is your plan:\n```json\n{\"frames\":[{\"lyricExcerpt\":\"e\"}]}\n```\nEnjoy!"})", "e"},
        {R"({"chunks":[{"lyricExcerpt":"f"}]})", "f"},
        {R"({"frames":"later","chunks":[{"lyricExcerpt":"g"}]})", "g"},
        {R"({})", nullptr},
        {R"({"frames":[],"chunks":[{"lyricExcerpt":"ignored"}]})", nullptr},
        {R"({"frames":[{"lyricExcerpt":"a"},2]})", nullptr},
        {R"({"text":"I could not plan this song."})", nullptr},
        {R"({"text":"[{\"a\":1},{\"frames\":[{}]}]"})", nullptr},
    };
    for (const auto &c : cases) {
        try {
            const auto chunks = parse(c[0]).chunks;
            EXPECT_EQ(chunks.size(), c[1] ? 1 : -1) << c[0];
            EXPECT_EQ(chunks.value(0).lyricExcerpt, QString::fromUtf8(c[1])) << c[0];
        } catch (const PipelineError &error) {
            EXPECT_FALSE(c[1]) << c[0];
            EXPECT_EQ(error.kind(), PipelineError::Case::noChunks) << c[0];
        }
    }
}

TEST(PlanParser, TakesOnlyAListedStylePreset)
{
    const char *const cases[][2] = {
        {R"({"frames":[{}],"ideogramStylePreset":" WATERCOLOR\n"})", "WATERCOLOR"},
        {R"({"frames":[{}],"ideogramStylePreset":"watercolor"})", ""},
        // The style director's own text wins, even over a listed preset in the plan.
        {R"({"frames":[{}],"ideogramStylePreset":"watercolor",
             "style_director_json":"```{\"ideogramStylePreset\":\"BAUHAUS\"}```"})", "BAUHAUS"},
        {R"({"plan":{"frames":[{}],"ideogramStylePreset":"CUBISM"},
             "styleDirectorJson":{"ideogramStylePreset":"AURA"}})", "AURA"},
        {R"({"a":{"frames":[{}]},"b":[{"ideogramStylePreset":"WEIRD"}]})", "WEIRD"},
    };
    for (const auto &c : cases)
        EXPECT_EQ(parse(c[0]).plan.ideogramStylePreset, QString::fromUtf8(c[1])) << c[0];
}

TEST(PlanParser, ReadsElementsWithIdsInOrder)
{
    const auto ids = [](const char *document) {
        QStringList ids;
        for (const auto &element : parse(document).plan.elements)
            ids.append(element.id);
        return ids.join(u' ');
    };
    EXPECT_EQ(ids(R"({"frames":[{}],"elementIds":[{"id":"e1"},{"type":"prop"},{"id":""},{"id":4},{"id":"e2"}]})"),
              QStringLiteral("e1 e2"));
    EXPECT_EQ(ids(R"({"plan":{"frames":[{}],"elementIds":["e1"]},"extra":{"elementIds":[{"id":"x"}]}})"),
              QStringLiteral("x"))
        << "an id list of plain strings sends the search elsewhere";
    EXPECT_EQ(ids(R"({"frames":[{}],"elementIds":[{"id":"a"},"b"]})"), QString());
    EXPECT_EQ(parse(R"({"frames":[{}],"palette":"teal,   ,amber ,"})").plan.palette,
              (QStringList{QStringLiteral("teal"), QStringLiteral("amber")}));

    const auto element = parse(R"({"frames":[{}],"elementIds":[{"id":"e1","type":"prop",
        "continuityDescription":"red kite","textToImagePrompt":7}]})").plan.elements.value(0);
    EXPECT_EQ(element, (PlanElement{QStringLiteral("e1"), QStringLiteral("prop"), QStringLiteral("red kite"), {}, {}, {}}));
}

TEST(PlanParser, ReadsEachFrameIntoAChunk)
{
    // Each frame and its chunk as "number start-end", then "primary" and the elements used.
    const char *const cases[][2] = {
        {R"({})", "1 0-0 primary"},
        {R"({"chunkNumber":4.9,"frameNumber":9})", "4 0-0 primary"},
        {R"({"chunkNumber":"8"})", "3 0-0 primary"},
        {R"({"startTime":10,"endTime":8})", "4 10-10 primary"},
        {R"({"startTime":"3","endTime":4})", "5 0-4 primary"},
        {R"({"elementIdsUsed":["kite"]})", "6 0-0 kite"},
        {R"({"elementIdsUsed":["kite",1]})", "7 0-0 primary"},
        {R"({"elementIdsUsed":["kite"],"primaryCharacterInFrame":"true"})", "8 0-0 kite"},
    };
    QByteArray document = "{\"frames\":[";
    for (const auto &c : cases)
        document += QByteArray(c[0]) + ",";
    document.back() = ']';
    const auto chunks = parse(document + "}").chunks;
    ASSERT_EQ(chunks.size(), std::size(cases));
    for (qsizetype i = 0; i < chunks.size(); ++i) {
        const StoryboardChunk &chunk = chunks.at(i);
        EXPECT_EQ(chunk.index, chunk.chunkNumber - 1);
        QStringList parts{QStringLiteral("%1 %2-%3").arg(chunk.chunkNumber).arg(chunk.start).arg(chunk.end)};
        if (chunk.primaryCharacterInFrame)
            parts << QStringLiteral("primary");
        EXPECT_EQ((parts + chunk.elementIdsUsed).join(u' '), QString::fromUtf8(cases[i][1])) << cases[i][0];
    }
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

class PlanningRun : public ServiceTest {
protected:
    QString imagePath = temp.path(QStringLiteral("jacket.png"));

    // A two-line song by a known artist, with one character whose picture is readable.
    Project song() const
    {
        QImage image(40, 20, QImage::Format_RGB32);
        image.fill(Qt::red);
        image.save(imagePath);
        Project project;
        project.artist = QStringLiteral("The Marker Kids");
        project.transcript = {{QUuid::createUuid(), QStringLiteral("City lights are burning low"), 12.34, 15.0, {}},
                              {QUuid::createUuid(), QStringLiteral("Hold the line"), 15.0, 17.5, {}}};
        project.characters = {CharacterReference{{}, QStringLiteral("Rae"), {}, {imagePath}}};
        return project;
    }
};

// Prose and a fenced plan inside a string, as a language model tends to answer.
const QByteArray replan = R"({"output":"Here is the storyboard:\n```json\n{\"artDirectionStatement\":\"wet brick\",)"
                          R"(\"elementIds\":[{\"id\":\"jacket\"},{\"id\":\"bus\"}],\"frames\":[)"
                          R"({\"chunkNumber\":3,\"lyricExcerpt\":\"changed\"},)"
                          R"({\"chunkNumber\":9,\"lyricExcerpt\":\"b\"},)"
                          R"({\"chunkNumber\":5,\"lyricExcerpt\":\"e\"}]}\n```"})";

TEST_F(PlanningRun, SendsTheProjectShowsTheQueueAndKeepsMatchingFrames)
{
    Project project = song();
    project.updatedAt = QDateTime::fromSecsSinceEpoch(1'600'000'000, Qt::UTC);
    StoryboardChunk three = oldChunk(3, "c", "three");
    three.undoStack = {frameNamed("three before")};
    three.redoStack = {frameNamed("three after")};
    // Later duplicates of a number or a lyric lose to the first chunk with that key.
    project.chunks = {oldChunk(1, "a", "one"), oldChunk(2, "b", "two"), three, oldChunk(3, "x", "three again"),
                      oldChunk(4, "b", "four")};
    open(project);
    const Project before = store->project();
    scriptJobs(plannerPath, {accepted}, {reply(replan)},
               {reply(R"({"status":"IN_QUEUE","queue_position":2})"), reply(R"({"status":"IN_QUEUE","queue_position":0})"),
                completed});

    blockingWait(startPlanning(*store));
    processEventsUntil([&] { return tasks.size() >= 3; }, 1s);

    ASSERT_EQ(store->session().lastError(), std::nullopt);
    EXPECT_EQ(tasks, (QStringList{QStringLiteral("Planning storyboard"), QStringLiteral("In queue (position 2)"),
                                  QStringLiteral("(none)")}));
    const QList<QJsonObject> sent = submissions();
    ASSERT_EQ(sent.size(), 1);
    // Exactly the five keys: the latest end rounded half away from zero, starts to a tenth.
    EXPECT_EQ(sent[0], (QJsonObject{{QStringLiteral("artist"), QStringLiteral("The Marker Kids")},
                                 {QStringLiteral("duration_seconds"), 18},
                                 {QStringLiteral("transcript"),
                                  QStringLiteral("[12.3-15.0] City lights are burning low\n[15.0-17.5] Hold the line")},
                                 {QStringLiteral("style_guidance"), before.style.continuityNotes},
                                 {QStringLiteral("image_urls"), QJsonArray{*imageDataURL(imagePath)}}}));

    const Project &after = store->project();
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

TEST_F(PlanningRun, AFailedOrRefusedRunLeavesTheStoryboardUntouched)
{
    const auto noChunks = PipelineError::message(PipelineError::Case::noChunks);
    const struct {
        const char *name;
        std::function<void(Project &)> arrange;
        QByteArray status, result;
        QString expectedError;
        int jobs; // planner jobs sent
    } cases[] = {
        {"no transcript comes first, even without a character",
         [](Project &p) {
             p.transcript.clear();
             p.characters.clear();
         },
         {}, {}, PipelineError::message(PipelineError::Case::emptyLyrics), 0},
        {"no character", [](Project &p) { p.characters.clear(); }, {}, {},
         PipelineError::message(PipelineError::Case::missingCharacter), 0},
        {"only unreadable images",
         [this](Project &p) {
             p.characters.first().referenceImagePaths = {imagePath + QStringLiteral(".missing"), QStringLiteral("/etc/hostname")};
         },
         {}, {}, PipelineError::message(PipelineError::Case::missingCharacter), 0},
        {"the job failed", {}, R"({"status":"FAILED"})", replan, QStringLiteral("Generation failed (FAILED)."), 1},
        {"the result has no frames", {}, R"({"status":"COMPLETED"})", R"({"output":"I could not plan this."})", noChunks, 1},
        {"the result is not an object", {}, R"({"status":"COMPLETED"})", R"([{"frames":[{"chunkNumber":1}]}])", noChunks, 1},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        Project project = song();
        project.plan = StoryboardPlan{};
        project.plan->motif = QStringLiteral("old motif");
        project.chunks = {oldChunk(3, "c", "three")};
        if (c.arrange)
            c.arrange(project);
        open(project);
        const Project before = store->project();
        const int sent = server.count(QStringLiteral("POST"), plannerPath);
        scriptJobs(plannerPath, {accepted}, {reply(c.result)}, {reply(c.status)});

        blockingWait(startPlanning(*store));

        EXPECT_EQ(store->session().lastError(), c.expectedError);
        EXPECT_TRUE(store->project() == before);
        EXPECT_EQ(server.count(QStringLiteral("POST"), plannerPath), sent + c.jobs);
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
