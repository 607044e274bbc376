// A chunk's frame history (edit, undo, redo) and its review: versions move between the
// stacks without being made or lost, checks travel with their version, and an edit against
// the loopback service starts from the frame the user saw.

#include "generation/FalClient.h"
#include "pipeline/GenerationOperations.h"
#include "store/BlockingWait.h"
#include "support/Fixtures.h"
#include "support/LoopbackServer.h"

#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QNetworkAccessManager>

#include <gtest/gtest.h>

using namespace quillvane;
using namespace quillvane::test;
using namespace std::chrono_literals;

namespace {

const QDateTime longAgo = QDateTime::fromSecsSinceEpoch(1'000'000'000, Qt::UTC);

// A version named by its remote URL and prompt, with the first `checks` review checks ticked.
GeneratedFrame version(const QString &name, int checks = 0)
{
    GeneratedFrame frame;
    frame.remoteURL = QStringLiteral("https://fal.media/%1.png").arg(name);
    frame.prompt = QStringLiteral("prompt of ") + name;
    frame.localPath = QStringLiteral("/frames/%1.png").arg(name);
    for (int i = 0; i < checks; ++i)
        field(frame.review, allReviewChecks.at(i)) = true;
    return frame;
}

// A history written as "undo... | current | redo..." with version names, for readable tables.
// Version "a" is accepted everywhere and the others are not, so acceptance can be seen to travel.
QString history(const StoryboardChunk &chunk)
{
    const auto names = [](const QList<GeneratedFrame> &frames) {
        QStringList list;
        for (const GeneratedFrame &frame : frames)
            list << frame.prompt.mid(10);
        return list.join(QLatin1Char(' '));
    };
    return QStringList{names(chunk.undoStack), chunk.frame ? chunk.frame->prompt.mid(10) : QString(),
                       names(chunk.redoStack)}
        .join(QStringLiteral(" | "))
        .trimmed();
}

StoryboardChunk chunkFrom(const char *text)
{
    const QStringList parts = QString::fromUtf8(text).split(QLatin1Char('|'));
    const auto versions = [](const QString &names) {
        QList<GeneratedFrame> list;
        for (const QString &name : names.split(QLatin1Char(' '), Qt::SkipEmptyParts))
            list << version(name, name == QStringLiteral("a") ? 5 : 2);
        return list;
    };
    StoryboardChunk chunk;
    chunk.undoStack = versions(parts.value(0));
    if (const QList<GeneratedFrame> current = versions(parts.value(1)); !current.isEmpty())
        chunk.frame = current.first();
    chunk.redoStack = versions(parts.value(2));
    return chunk;
}

class StoreTest : public testing::Test {
protected:
    TempLibrary temp;
    std::unique_ptr<ProjectStore> store;

    const StoryboardChunk &chunk(qsizetype i = 0) const { return store->project().chunks.at(i); }
    void open(QList<StoryboardChunk> chunks)
    {
        Project project;
        qint64 index = 0;
        for (StoryboardChunk &chunk : chunks) {
            chunk.index = index++;
            chunk.chunkNumber = index;
        }
        project.chunks = std::move(chunks);
        project.updatedAt = longAgo;
        store = std::make_unique<ProjectStore>(temp.library(), project, PipelineServices{},
                                               StoreOptions{std::chrono::hours(1), 1ms});
    }
};

TEST_F(StoreTest, UndoAndRedoMoveOneVersionWithItsChecks)
{
    const struct {
        bool isUndo;
        const char *before;
        const char *after;
        bool accepted;
    } cases[] = {
        {true, "a | b |", "| a | b", true}, // brings back the accepted version
        {true, "a b | c | d", "a | b | d c", false},
        {false, "a | b | d c", "a b | c | d", false},
        {true, "| a | b", "| a | b", true}, // nothing earlier: nothing moves
        {false, "a | b |", "a | b |", false},
        {true, "a | |", "| a |", true}, // no current frame: nothing is parked
    };
    for (const auto &c : cases) {
        open({chunkFrom(c.before), chunkFrom("x | y |")});
        const StoryboardChunk other = chunk(1);
        (c.isUndo ? undoFrame : redoFrame)(*store, chunk(0).id);
        EXPECT_EQ(history(chunk(0)), QString::fromUtf8(c.after)) << c.before;
        EXPECT_EQ(chunk(0).isAccepted(), c.accepted) << c.before;
        EXPECT_EQ(chunk(1), other);
        EXPECT_GT(store->project().updatedAt, longAgo) << "touched even when nothing moved";
    }
}

TEST_F(StoreTest, ReviewAcceptsAChunkOnlyWithAllFiveChecksAndAcceptsManyInOneChange)
{
    open({chunkFrom("| x |"), chunkFrom("| y |"), chunkFrom("| a |"), StoryboardChunk{}});
    setReviewCheck(*store, chunk(0).id, ReviewCheck::styleContinuous, true);
    EXPECT_EQ(reviewSummary(chunk(0).frame->review), QStringLiteral("3/5 checks"));
    EXPECT_EQ(store->project().acceptedCount(), 1);

    // Checking a chunk without a frame, or any step on an unknown chunk, changes nothing.
    const QList<StoryboardChunk> before = store->project().chunks;
    setReviewCheck(*store, chunk(3).id, ReviewCheck::readable, true);
    setReviewCheck(*store, QUuid::createUuid(), ReviewCheck::readable, true);
    undoFrame(*store, QUuid::createUuid());
    redoFrame(*store, QUuid::createUuid());
    EXPECT_EQ(store->project().chunks, before);

    int changes = 0;
    QObject::connect(&store->document(), &ProjectDocument::projectChanged, [&] { ++changes; });
    passAllChecks(*store, {chunk(0).id, chunk(1).id, chunk(3).id});
    EXPECT_EQ(changes, 1);
    EXPECT_EQ(reviewSummary(chunk(1).frame->review), QStringLiteral("Accepted"));
    EXPECT_EQ(store->project().acceptedCount(), 3);
    EXPECT_FALSE(store->project().allChunksAccepted()) << "the chunk without a frame holds export back";
    EXPECT_FALSE(Project{}.allChunksAccepted()) << "an empty storyboard is never accepted";
}

// Editing against the loopback service with the real client.
class FrameEditing : public StoreTest {
protected:
    LoopbackServer server;

    // The shared session keeps its connections open; closing them lets the server stop at once.
    void TearDown() override { sharedNetwork()->clearConnectionCache(); }

    QString workflowPath() const { return QLatin1Char('/') + store->settings().editWorkflow(); }

    void openWithFrame(std::optional<GeneratedFrame> frame)
    {
        StoryboardChunk only;
        only.frame = std::move(frame);
        open({StoryboardChunk{}, only});
        store->settings().chooseForThisRun(std::nullopt, server.baseURL());
    }

    // Every edit job completes at once; result N names the image /edited/N.png.
    void scriptService(int results)
    {
        server.script(QStringLiteral("POST"), workflowPath(),
                      {reply(R"({"request_id":"e1","status_url":"https://queue.fal.run/q/requests/e1/status",)"
                             R"("response_url":"https://queue.fal.run/q/requests/e1"})")});
        server.script(QStringLiteral("GET"), QStringLiteral("/q/requests/e1/status"),
                      {reply(R"({"status":"IN_QUEUE","queue_position":2})"), reply(R"({"status":"COMPLETED"})")});
        QList<ScriptedReply> documents;
        for (int i = 1; i <= results; ++i) {
            const QString image = server.url(QStringLiteral("/edited/%1.png").arg(i)).toString();
            documents << reply(QJsonDocument(QJsonObject{{QStringLiteral("images"),
                                                          QJsonArray{QJsonObject{{QStringLiteral("url"), image}}}}})
                                   .toJson(QJsonDocument::Compact));
            server.serveFile(QStringLiteral("/edited/%1.png").arg(i), png(Qt::darkCyan), "image/png");
        }
        server.script(QStringLiteral("GET"), QStringLiteral("/q/requests/e1"), documents);
    }

    QList<QJsonObject> submissions() const
    {
        QList<QJsonObject> inputs;
        for (const RecordedRequest &request : server.requests()) {
            if (request.method == QStringLiteral("POST"))
                inputs << QJsonDocument::fromJson(request.body).object();
        }
        return inputs;
    }

    void edit(const QString &request) { blockingWait(editFrame(*store, chunk(1).id, request)); }
};

TEST_F(FrameEditing, EditsStartFromTheCurrentVersionAndCutOffWhatWasUndone)
{
    openWithFrame(version(QStringLiteral("generated"), 5));
    const GeneratedFrame generated = *chunk(1).frame;
    scriptService(3);
    QStringList tasks;
    QObject::connect(&store->session(), &TaskSession::runningTaskChanged, [&] {
        if (const auto task = store->session().runningTask())
            tasks << *task;
    });

    edit(QStringLiteral("  make the sky sunset orange\n"));
    ASSERT_EQ(store->session().lastError(), std::nullopt);
    EXPECT_EQ(tasks, (QStringList{QStringLiteral("Editing frame 2"), QStringLiteral("In queue (position 2)")}));
    EXPECT_EQ(submissions().last(),
              (QJsonObject{{QStringLiteral("frame_to_edit"), QJsonArray{*generated.remoteURL}},
                           {QStringLiteral("users_edit_request"), QStringLiteral("make the sky sunset orange")}}));
    const GeneratedFrame first = *chunk(1).frame;
    EXPECT_EQ(first.remoteURL, server.url(QStringLiteral("/edited/1.png")).toString());
    EXPECT_EQ(first.prompt, generated.prompt);
    EXPECT_EQ(first.editRequest, QStringLiteral("make the sky sunset orange"));
    EXPECT_EQ(first.review, ReviewChecklist{}) << "a new version starts unchecked";
    EXPECT_TRUE(QFileInfo::exists(first.localPath));
    EXPECT_EQ(versionLabel(chunk(1)), QStringLiteral("Version 2"));

    edit(QStringLiteral("fix the sign spelling"));
    EXPECT_EQ(submissions().last()[QStringLiteral("frame_to_edit")], QJsonArray{*first.remoteURL})
        << "a later edit starts from the edited picture";
    EXPECT_EQ(chunk(1).undoStack, (QList<GeneratedFrame>{generated, first}));
    EXPECT_EQ(versionLabel(chunk(1)), QStringLiteral("Version 3"));

    undoFrame(*store, chunk(1).id);
    undoFrame(*store, chunk(1).id);
    EXPECT_EQ(chunk(1).frame, generated);
    EXPECT_TRUE(chunk(1).isAccepted()) << "undoing the edits brings back the accepted version";
    EXPECT_EQ(versionLabel(chunk(1)), QStringLiteral("Version 1 · 2 redo"));

    edit(QStringLiteral("add rain"));
    EXPECT_EQ(submissions().last()[QStringLiteral("frame_to_edit")], QJsonArray{*generated.remoteURL});
    EXPECT_EQ(chunk(1).undoStack, QList<GeneratedFrame>{generated});
    EXPECT_TRUE(chunk(1).redoStack.isEmpty());
    EXPECT_EQ(chunk(1).frame->editRequest, QStringLiteral("add rain"));
    EXPECT_EQ(submissions().size(), 3);
    EXPECT_EQ(store->session().runningTask(), std::nullopt);
}

TEST_F(FrameEditing, ABlankRequestOrNoPictureToEditSendsNothing)
{
    std::optional<GeneratedFrame> withoutURL = version(QStringLiteral("g"));
    withoutURL->remoteURL = QString();
    const struct {
        std::optional<GeneratedFrame> frame;
        const char *request;
        std::optional<QString> error;
    } cases[] = {
        {version(QStringLiteral("g")), " \n\t ", std::nullopt},
        {withoutURL, "make it blue", noEditSourceMessage},
        {std::nullopt, "make it blue", noEditSourceMessage},
    };
    for (const auto &c : cases) {
        openWithFrame(c.frame);
        scriptService(1);
        const Project before = store->project();
        edit(QString::fromUtf8(c.request));
        EXPECT_EQ(store->session().lastError(), c.error) << c.request;
        EXPECT_EQ(store->project(), before);
    }
    EXPECT_TRUE(server.requests().isEmpty());
}

TEST_F(FrameEditing, AFailedEditLeavesTheHistoryAsItWas)
{
    openWithFrame(version(QStringLiteral("g"), 3));
    store->editProject([](Project &project) { project.chunks[1].undoStack << version(QStringLiteral("earlier")); });
    const Project before = store->project();

    scriptService(1);
    server.script(QStringLiteral("GET"), QStringLiteral("/q/requests/e1"), {reply(R"({"images":[]})")});
    edit(QStringLiteral("make it blue"));
    EXPECT_EQ(store->session().lastError(), QStringLiteral("No image was returned."));
    EXPECT_EQ(store->project(), before);

    server.script(QStringLiteral("POST"), workflowPath(), {reply(R"({"detail":"busy"})", 503)});
    edit(QStringLiteral("make it blue"));
    ASSERT_TRUE(store->session().lastError());
    EXPECT_TRUE(store->session().lastError()->startsWith(QStringLiteral("Generation error 503"))) << store->session().lastError()->toStdString();
    EXPECT_EQ(store->project(), before);
}

} // namespace
