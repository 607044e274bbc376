// Element and frame generation over loopback: what each job is sent, what the user sees, where
// files land, how a new frame enters a chunk's history, and where a failure leaves the project.

#include "ServiceTest.h"
#include "generation/Planning.h"
#include "pipeline/Road.h"

#include <QBuffer>
#include <QDir>
#include <QImage>
#include <QTimer>

using namespace quillvane;
using namespace quillvane::test;
using namespace std::chrono_literals;

namespace {

const QString elementPath = QStringLiteral("/workflows/brackenfold/element-image");
const QString framePath = QStringLiteral("/workflows/brackenfold/lyric-video-frames-character");
const ScriptedReply refused = reply(R"({"detail":"overloaded"})", 500);

PlanElement element(const QString &id, std::optional<QString> url = std::nullopt)
{
    return {id, {}, {}, {}, url, {}};
}

StoryboardChunk chunk(qint64 index, QStringList elements = {QStringLiteral("sign")})
{
    StoryboardChunk c;
    c.index = index;
    c.chunkNumber = index + 1;
    c.renderedText = QStringLiteral("Line %1").arg(index + 1);
    c.elementIdsUsed = elements;
    return c;
}

class FrameGenerationTest : public ServiceTest {
protected:
    const PlanElement &planElement(qsizetype i) const { return store->project().plan->elements.at(i); }
};

Project projectWithPlan(const QList<PlanElement> &elements, const QList<StoryboardChunk> &chunks = {})
{
    Project project;
    StoryboardPlan plan;
    plan.elements = elements;
    plan.rawJSON = QStringLiteral(R"({"shots":[]})");
    plan.ideogramStylePreset = QStringLiteral("POP_ART");
    project.plan = plan;
    project.chunks = chunks;
    return project;
}

// What the painter must be told, whatever the wording around it.
TEST(FramePrompt, NamesTheWordsTheirSurfaceTheCharacterAndTheContinuity)
{
    StoryboardChunk c = chunk(0);
    c.surface = QStringLiteral("a wet brick wall");
    c.imagePrompt = QStringLiteral("never part of the composition");
    StyleGuidance style;
    style.continuityNotes = QStringLiteral("Same red jacket throughout.");
    const CharacterReference rae{{}, QStringLiteral("Rae"), QStringLiteral("Short green hair."), {}};
    const QString prompt = composeFramePrompt(c, style, LyricsOnScreen::painted, &rae);
    for (const QString &part : {QStringLiteral("\"Line 1\""), QStringLiteral("a wet brick wall"),
                                QStringLiteral("Rae"), QStringLiteral("Short green hair."),
                                QStringLiteral("Same red jacket throughout."), style.paletteName})
        EXPECT_TRUE(prompt.contains(part)) << qPrintable(part);
    EXPECT_FALSE(prompt.contains(c.imagePrompt));
    EXPECT_FALSE(composeFramePrompt(c, style, LyricsOnScreen::painted).contains(QStringLiteral("Rae")));
}

// Only when the lyrics are sung over the video are the planner and the painter told to leave
// words out; a planner's prompt that still names the chunk's words is then not used.
TEST(FramePrompt, AsksForNoWordsOnlyWhenTheLyricsAreSung)
{
    StoryboardChunk c = chunk(0);
    Project project;
    project.style.continuityNotes = QStringLiteral("Wet asphalt.");
    for (const LyricsOnScreen lyrics : {LyricsOnScreen::painted, LyricsOnScreen::sung, LyricsOnScreen::both}) {
        SCOPED_TRACE(qPrintable(textValue(lyrics)));
        const bool sung = lyrics == LyricsOnScreen::sung;
        const QString guidance = plannerInput(project, {}, lyrics)[QStringLiteral("style_guidance")].toString();
        EXPECT_EQ(guidance, sung ? QStringLiteral("Wet asphalt. ") + noWordsInPlan : QStringLiteral("Wet asphalt."));
        EXPECT_EQ(frameNegativePrompt(project.style, lyrics).contains(wordsToAvoid), sung);
        for (const QString &planned : {QString(), QStringLiteral("A tram stop at dusk"),
                                       QStringLiteral("The words \"Line 1\" sprayed on a tram")}) {
            c.imagePrompt = planned;
            const QString prompt = framePrompt(c, project.style, lyrics);
            EXPECT_EQ(prompt.contains(noWordsInFrame), sung) << qPrintable(prompt);
            EXPECT_EQ(prompt.contains(QStringLiteral("Line 1")), !sung && planned != QStringLiteral("A tram stop at dusk"))
                << qPrintable(prompt);
            EXPECT_EQ(prompt.contains(QStringLiteral("tram stop")), planned == QStringLiteral("A tram stop at dusk"));
        }
    }
}

TEST(FrameGenerationReferences, ElementsInChunkOrderThenEveryCharactersImagesEachOnce)
{
    TempLibrary temp;
    const QString jacket = temp.path(QStringLiteral("jacket.png")), face = temp.path(QStringLiteral("face.png"));
    const QString missing = temp.path(QStringLiteral("missing.png"));
    QImage(30, 10, QImage::Format_RGB32).save(jacket);
    QImage(10, 30, QImage::Format_RGB32).save(face);
    Project project = projectWithPlan({element(QStringLiteral("a"), QStringLiteral("https://fal.media/a.png")),
                                       element(QStringLiteral("b")),
                                       element(QStringLiteral("c"), QStringLiteral("https://fal.media/c.png")),
                                       element(QStringLiteral("c"), QStringLiteral("https://fal.media/later.png"))});
    project.characters = {CharacterReference{{}, QStringLiteral("Rae"), {}, {jacket, missing, face}},
                          CharacterReference{{}, QStringLiteral("Twin"), {}, {face}}};
    StoryboardChunk c = chunk(0, {QStringLiteral("c"), QStringLiteral("ghost"), QStringLiteral("b"),
                                  QStringLiteral("a"), QStringLiteral("c")});

    EXPECT_EQ(referenceImageURLs(project, c, imageDataURLs({jacket, missing, face, face})),
              (QStringList{QStringLiteral("https://fal.media/c.png"), QStringLiteral("https://fal.media/a.png"),
                           *imageDataURL(jacket), *imageDataURL(face)}));
    project.plan.reset();
    project.characters.clear();
    EXPECT_TRUE(referenceImageURLs(project, c, {}).isEmpty());
}

// Only pending elements are rendered, labelled by their place in the plan; a failure keeps the
// ones made before it, sends nothing after it, and the next run picks up what is left.
TEST_F(FrameGenerationTest, RendersPendingElementsInPlanOrderAndResumesAfterAFailure)
{
    const QString slashed = QStringLiteral("neon/sign 2");
    open(projectWithPlan({element(QStringLiteral("e1"), QStringLiteral("https://fal.media/1.png")), element(slashed),
                          element(QStringLiteral("e3"), QStringLiteral("https://fal.media/3.png")),
                          element(QStringLiteral("e4")), element(QStringLiteral("e5"))}));
    scriptJobs(elementPath, {accepted, refused, accepted},
               serveImages({QStringLiteral("second"), QStringLiteral("fourth"), QStringLiteral("fifth")}));

    blockingWait(startRenderElements(*store));

    EXPECT_TRUE(store->session().lastError());
    EXPECT_EQ(tasks, (QStringList{QStringLiteral("Rendering elements"), QStringLiteral("Rendering element 2/5: neon/sign 2"),
                                   QStringLiteral("Rendering element 4/5: e4"), QStringLiteral("(none)")}));
    EXPECT_EQ(server.count(QStringLiteral("POST"), elementPath), 2);
    EXPECT_EQ(server.requests()[0].body, QByteArray(R"({"element_id":"neon/sign 2","shot_plan":"{\"shots\":[]}"})"));
    EXPECT_EQ(planElement(1).imageRemoteURL, imageURL(QStringLiteral("second")));
    EXPECT_TRUE(planElement(1).imageLocalPath->endsWith(QStringLiteral("/elements/neon-sign_2.png")));
    EXPECT_EQ(readFile(*planElement(1).imageLocalPath), png(Qt::red));
    EXPECT_EQ(planElement(0).imageRemoteURL, QStringLiteral("https://fal.media/1.png"));
    EXPECT_EQ(planElement(3).imageRemoteURL, std::nullopt);
    EXPECT_EQ(planElement(4).imageRemoteURL, std::nullopt);

    tasks.clear();
    blockingWait(startRenderElements(*store));
    EXPECT_EQ(store->session().lastError(), std::nullopt);
    EXPECT_EQ(tasks, (QStringList{QStringLiteral("Rendering elements"), QStringLiteral("Rendering element 4/5: e4"),
                                   QStringLiteral("Rendering element 5/5: e5"), QStringLiteral("(none)")}));
    EXPECT_EQ(planElement(3).imageRemoteURL, imageURL(QStringLiteral("fourth")));
    EXPECT_EQ(planElement(4).imageRemoteURL, imageURL(QStringLiteral("fifth")));

    tasks.clear();
    const qsizetype sent = server.requests().size();
    blockingWait(startRenderElements(*store));
    EXPECT_TRUE(tasks.isEmpty());
    EXPECT_EQ(server.requests().size(), sent);
}

TEST_F(FrameGenerationTest, EachGenerationWritesItsOwnFileAndPushesTheFrameBeforeIt)
{
    StoryboardChunk first = chunk(0);
    first.imagePrompt = QStringLiteral("A neon sign in the rain");
    first.redoStack = {GeneratedFrame{}};
    Project tall = projectWithPlan({element(QStringLiteral("sign"), QStringLiteral("https://fal.media/sign.png"))}, {first});
    tall.exportSettings.shape = VideoShape::portrait; // the picture is asked for in the video's shape
    open(tall);
    scriptJobs(framePath, {accepted}, serveImages({QStringLiteral("v1"), QStringLiteral("v2"), QStringLiteral("v3")}));
    // Services answer with WebP as often as PNG: the third version comes as one, when this
    // machine can write it (scripts/setup installs qt6-image-formats-plugins).
    QByteArray webp;
    QBuffer buffer(&webp);
    if (buffer.open(QIODevice::WriteOnly) && QImage(64, 36, QImage::Format_RGB32).save(&buffer, "WEBP"))
        server.serveFile(QStringLiteral("/img/v3.png"), webp, "image/webp");

    QList<GeneratedFrame> made;
    for (int i = 0; i < 3; ++i) {
        blockingWait(startGenerateFrame(*store, first.id));
        ASSERT_EQ(store->session().lastError(), std::nullopt);
        const GeneratedFrame &frame = *store->project().chunks[0].frame;
        made << frame;
        EXPECT_TRUE(frame.localPath.endsWith(QStringLiteral("/frames/%1_%2.png").arg(uuidText(first.id), uuidText(frame.id))));
        EXPECT_EQ(readFile(frame.localPath), i == 2 && !webp.isEmpty() ? webp : png(Qt::red));
        EXPECT_EQ(frame.remoteURL, imageURL(QStringLiteral("v%1").arg(i + 1)));
        EXPECT_EQ(frame.prompt, first.imagePrompt);
        EXPECT_EQ(frame.review, ReviewChecklist{});
    }

    const StoryboardChunk &after = store->project().chunks[0];
    EXPECT_EQ(after.undoStack, made.mid(0, 2));
    EXPECT_TRUE(after.redoStack.isEmpty());
    EXPECT_TRUE(QFile::exists(after.undoStack[0].localPath)) << "earlier versions stay on disk";

    EXPECT_EQ(submissions()[0], (QJsonObject{{QStringLiteral("image_prompt"), first.imagePrompt},
                                             {QStringLiteral("style_preset"), QStringLiteral("POP_ART")},
                                             {QStringLiteral("reference_image_urls"), QJsonArray{QStringLiteral("https://fal.media/sign.png")}},
                                             {QStringLiteral("aspect_ratio"), QStringLiteral("9:16")}}));
}

TEST_F(FrameGenerationTest, ABatchRendersPendingElementsThenFramesOneAtATimeAndStopsAtAFailure)
{
    const struct {
        QList<ScriptedReply> frameSubmits;
        bool thirdHasReferences;
        int jobs;           // frame jobs sent
        QList<bool> framed; // per chunk afterwards
        std::optional<QString> error; // the exact sentence when it is fixed, "" for any
    } cases[] = {
        {{accepted}, true, 3, {true, true, true, true}, std::nullopt},
        {{accepted, refused}, true, 2, {true, true, false, false}, QString()},
        {{accepted}, false, 1, {true, true, false, false},
         QStringLiteral("Frame 3 has no reference image yet. Render the storyboard elements first, or mark the "
                        "character as in-frame.")},
    };
    for (const auto &c : cases) {
        StoryboardChunk framed = chunk(1);
        framed.frame = GeneratedFrame{};
        open(projectWithPlan({element(QStringLiteral("sign"))},
                             {chunk(0), framed, chunk(2, c.thirdHasReferences ? QStringList{QStringLiteral("sign")} : QStringList{}),
                              chunk(3)}));
        // The element job and the frame jobs share one queue path, so results go out in turn.
        const qsizetype from = server.requests().size();
        server.script(QStringLiteral("POST"), elementPath, {accepted});
        scriptJobs(framePath, c.frameSubmits, serveImages({QStringLiteral("sign"), QStringLiteral("f1"), QStringLiteral("f2"), QStringLiteral("f3")}));

        const auto outcome = blockingWait(runRoad(*store, PipelineStage::frames, PipelineStage::frames));

        EXPECT_EQ(outcome.isFailed(), c.error.has_value());
        EXPECT_EQ(store->session().lastError().has_value(), c.error.has_value());
        EXPECT_TRUE(store->session().lastError().value_or(QString()).startsWith(c.error.value_or(QString())));
        EXPECT_EQ(planElement(0).imageRemoteURL, imageURL(QStringLiteral("sign")));
        const auto &chunks = store->project().chunks;
        for (qsizetype i = 0; i < c.framed.size(); ++i)
            EXPECT_EQ(chunks[i].frame.has_value(), c.framed[i]) << "chunk " << i;
        EXPECT_EQ(chunks[1].frame, framed.frame) << "a framed chunk is left alone";

        // One at a time: each frame's image is fetched before the next job is submitted.
        int submitted = 0, fetched = 0;
        for (const RecordedRequest &request : server.requests().mid(from)) {
            if (request.path == framePath)
                EXPECT_EQ(fetched, submitted++) << "a job went out before the frame before it arrived";
            else if (request.path.startsWith(QStringLiteral("/img/f")))
                ++fetched;
        }
        EXPECT_EQ(submitted, c.jobs);
    }
}

// A cancel while frame 2 of 4 is painted ends the batch there: no third job is sent, and the
// first frame stays made.
TEST_F(FrameGenerationTest, ACancelDuringOneFrameStartsNoLaterFrame)
{
    open(projectWithPlan({element(QStringLiteral("sign"), imageURL(QStringLiteral("sign")))},
                         {chunk(0), chunk(1), chunk(2), chunk(3)}));
    // The first job is done at once; the second is still painting at every poll.
    scriptJobs(framePath, {accepted}, serveImages({QStringLiteral("f1")}),
               {completed, reply(R"({"status":"IN_PROGRESS"})", 200, 20ms)});
    QTimer watch;
    QObject::connect(&watch, &QTimer::timeout, [&] {
        if (server.count(QStringLiteral("POST"), framePath) == 2 && server.count(QStringLiteral("GET"), statusPath) >= 3)
            store->cancelRunningTasks();
    });
    watch.start(2ms);

    const Done outcome = blockingWait(startGenerateMissingFrames(*store));

    EXPECT_TRUE(outcome.isCancelled());
    EXPECT_EQ(server.count(QStringLiteral("POST"), framePath), 2);
    const auto &chunks = store->project().chunks;
    EXPECT_TRUE(chunks[0].isFramed());
    EXPECT_FALSE(chunks[1].isFramed() || chunks[2].isFramed() || chunks[3].isFramed());
    EXPECT_FALSE(store->session().lastError() || store->session().runningTask());
}

} // namespace

// Every way a frame can fail to arrive ends in a sentence, and the project, its chunk history
// and the frames folder stay exactly as they were.
TEST_F(FrameGenerationTest, EveryServiceFaultEndsInItsSentenceAndChangesNothing)
{
    const QByteArray whole = png(Qt::red);
    const ScriptedReply cutAccepted{200, accepted.body, "application/json", {}, true};
    const struct {
        const char *name;
        bool refuseConnection;
        ScriptedReply submit;
        ScriptedReply imageFile; // what /img/frame.png serves
        QString sentence;
    } faults[] = {
        {"the connection is refused", true, accepted, {200, whole, "image/png"}, QStringLiteral("Connection refused")},
        {"the connection drops mid-body", false, cutAccepted, {200, whole, "image/png"}, QStringLiteral("closed")},
        {"the service stalls past the timeout", false, reply(accepted.body, 200, 3s), {200, whole, "image/png"},
         QStringLiteral("did not answer")},
        {"the image is cut off", false, accepted, {200, whole.left(whole.size() / 2), "image/png"},
         QStringLiteral("not a readable image")},
        {"the image is an error page", false, accepted, {200, "<html>Bad gateway</html>", "text/html"},
         QStringLiteral("not a readable image")},
        {"the image transfer drops", false, accepted, {200, whole, "image/png", {}, true}, QStringLiteral("closed")},
    };
    for (const auto &fault : faults) {
        SCOPED_TRACE(fault.name);
        StoryboardChunk first = chunk(0);
        first.frame = GeneratedFrame{};
        first.frame->localPath = QStringLiteral("/earlier/frame.png");
        open(projectWithPlan({element(QStringLiteral("sign"), QStringLiteral("https://fal.media/sign.png"))}, {first}),
             500ms);
        if (fault.refuseConnection)
            store->settings().chooseForThisRun(std::nullopt, QUrl(QStringLiteral("http://127.0.0.1:1")));
        scriptJobs(framePath, {fault.submit}, serveImages({QStringLiteral("frame")}));
        server.script(QStringLiteral("GET"), QStringLiteral("/img/frame.png"), {fault.imageFile});
        const Project before = store->project();

        blockingWait(startGenerateFrame(*store, first.id));
        ASSERT_TRUE(store->session().lastError());
        EXPECT_TRUE(store->session().lastError()->contains(fault.sentence)) << qPrintable(*store->session().lastError());
        EXPECT_EQ(store->project(), before);
        EXPECT_TRUE(QDir(store->document().media().framesFolder()).entryList(QDir::Files).isEmpty());
        sharedNetwork()->clearConnectionCache();
    }
}
