// The whole generation road through the store, against a service on loopback: plan the
// storyboard, render its element, generate every frame, edit one, undo the edit, and review
// every frame until the project is ready for motion and export.

#include "generation/FrameEditing.h"
#include "generation/FrameGeneration.h"
#include "generation/FrameReview.h"
#include "generation/Planning.h"
#include "store/BlockingWait.h"
#include "support/Fixtures.h"
#include "support/LoopbackServer.h"

#include <QBuffer>
#include <QImage>
#include <QJsonArray>
#include <QJsonDocument>
#include <QNetworkAccessManager>

#include <gtest/gtest.h>

using namespace quillvane;
using namespace std::chrono_literals;
using test::LoopbackServer;
using test::ScriptedReply;
using test::png;
using test::reply;

namespace {

const QByteArray plannerAnswer =
    R"({"output":"```json\n{\"artDirectionStatement\":\"wet brick at dusk\",\"ideogramStylePreset\":\"POP_ART\",)"
    R"(\"elementIds\":[{\"id\":\"neon sign\",\"type\":\"prop\",\"continuityDescription\":\"pink neon\",)"
    R"(\"textToImagePrompt\":\"a pink neon sign\"}],\"frames\":[)"
    R"({\"chunkNumber\":1,\"startTime\":0,\"endTime\":4,\"lyricExcerpt\":\"City lights\",)"
    R"(\"renderedText\":\"CITY LIGHTS\",\"surface\":\"brick wall\",\"elementIdsUsed\":[\"neon sign\"]},)"
    R"({\"chunkNumber\":2,\"startTime\":4,\"endTime\":8,\"lyricExcerpt\":\"Down the road\",)"
    R"(\"renderedText\":\"DOWN THE ROAD\",\"surface\":\"road sign\",\"elementIdsUsed\":[\"neon sign\"]}]}\n```"})";

} // namespace

TEST(GenerationRoad, PlanElementsFramesEditUndoAndReviewToAccepted)
{
    LoopbackServer server;
    test::TempLibrary temp;
    const QString face = temp.path(QStringLiteral("mara.png"));
    test::writeFile(face, png(Qt::red));

    Project project;
    project.title = QStringLiteral("Neon Overpass");
    project.artist = QStringLiteral("The Marker Kids");
    project.rawLyrics = QStringLiteral("City lights\nDown the road");
    project.transcript = {{QUuid::createUuid(), QStringLiteral("City lights"), 0, 4, {}},
                          {QUuid::createUuid(), QStringLiteral("Down the road"), 4, 8, {}}};
    project.characters = {CharacterReference{QUuid::createUuid(), QStringLiteral("Mara"), {}, {face}}};
    StoreOptions options;
    options.generationPollInterval = 1ms;
    ProjectStore store(temp.library(), project, PipelineServices{}, options);
    store.setServiceURLOverride(server.baseURL());

    // Every job is accepted under one id and completes at once; the results answer in the
    // order the road asks for them: the plan, the element, two frames, the edit.
    const ScriptedReply accepted = reply(R"({"request_id":"job-1","status_url":"https://queue.fal.run/queue/job-1/status",)"
                                         R"("response_url":"https://queue.fal.run/queue/job-1"})");
    const PipelineConfig config;
    for (const QString &workflow : {config.planWorkflow, config.elementWorkflow, config.frameWorkflow, store.editWorkflow()})
        server.script(QStringLiteral("POST"), QLatin1Char('/') + workflow, {accepted});
    server.script(QStringLiteral("GET"), QStringLiteral("/queue/job-1/status"), {reply(R"({"status":"COMPLETED"})")});
    QList<ScriptedReply> results{reply(plannerAnswer)};
    for (const char *name : {"element", "frame-1", "frame-2", "edited"}) {
        const QString path = QStringLiteral("/img/%1.png").arg(QString::fromUtf8(name));
        server.serveFile(path, png(Qt::blue), "image/png");
        results << reply(QJsonDocument(QJsonObject{{QStringLiteral("images"),
                                                    QJsonArray{QJsonObject{{QStringLiteral("url"),
                                                                            server.url(path).toString()}}}}})
                             .toJson(QJsonDocument::Compact));
    }
    server.script(QStringLiteral("GET"), QStringLiteral("/queue/job-1"), results);
    const auto noError = [&store] { return store.lastError().value_or(QString()).toStdString(); };

    blockingWait(startPlanning(store));
    ASSERT_FALSE(store.lastError()) << noError();
    ASSERT_EQ(store.project().chunks.size(), 2);
    ASSERT_EQ(store.project().plan->elements.size(), 1);

    blockingWait(startRenderElements(store));
    ASSERT_FALSE(store.lastError()) << noError();
    const PlanElement &sign = store.project().plan->elements.first();
    EXPECT_TRUE(sign.imageRemoteURL && sign.imageLocalPath);
    EXPECT_EQ(test::readFile(*sign.imageLocalPath), png(Qt::blue));

    blockingWait(startGenerateMissingFrames(store));
    ASSERT_FALSE(store.lastError()) << noError();
    EXPECT_EQ(store.project().framedCount(), 2);
    EXPECT_EQ(stageStatus(store.project(), PipelineStage::storyboard), StageStatus::complete);

    const QUuid first = store.project().chunks.first().id;
    const GeneratedFrame generated = *store.project().chunks.first().frame;
    blockingWait(editFrame(store, first, QStringLiteral("make the letters glow")));
    ASSERT_FALSE(store.lastError()) << noError();
    EXPECT_EQ(store.project().chunks.first().frame->editRequest, QStringLiteral("make the letters glow"));
    EXPECT_EQ(store.project().chunks.first().undoStack.size(), 1);

    undoFrame(store, first);
    EXPECT_EQ(store.project().chunks.first().frame, generated);
    EXPECT_EQ(store.project().chunks.first().redoStack.size(), 1);

    // Ids, not references into the project: every check replaces the project.
    QList<QUuid> chunkIDs;
    for (const StoryboardChunk &chunk : store.project().chunks)
        chunkIDs.append(chunk.id);
    for (const QUuid &id : chunkIDs) {
        for (const ReviewCheck check : allReviewChecks)
            setReviewCheck(store, id, check, true);
    }
    EXPECT_TRUE(store.project().allChunksAccepted());
    EXPECT_EQ(stageStatus(store.project(), PipelineStage::frames), StageStatus::complete);
    EXPECT_EQ(stageStatus(store.project(), PipelineStage::preview), StageStatus::complete);
    EXPECT_EQ(stageStatus(store.project(), PipelineStage::exportStage), StageStatus::inProgress);
    EXPECT_EQ(server.count(QStringLiteral("GET"), QStringLiteral("/queue/job-1")), 5);

    // The shared session keeps its connections open; closing them lets the server stop at once.
    sharedNetwork()->clearConnectionCache();
}
