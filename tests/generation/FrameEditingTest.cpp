// A chunk's frame history (edit, undo, redo) and its review: versions move between the
// stacks without being made or lost, checks travel with their version, and an edit against
// the loopback service starts from the frame the user saw.

#include "ServiceTest.h"

#include <QFileInfo>

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

class FrameEditing : public ServiceTest {
protected:
    const StoryboardChunk &chunk(qsizetype i = 0) const { return store->project().chunks.at(i); }
    void openChunks(QList<StoryboardChunk> chunks)
    {
        Project project;
        for (qsizetype i = 0; i < chunks.size(); ++i) {
            chunks[i].index = i;
            chunks[i].chunkNumber = i + 1;
        }
        project.chunks = std::move(chunks);
        project.updatedAt = longAgo;
        open(project);
    }
    void openWithFrame(std::optional<GeneratedFrame> frame)
    {
        StoryboardChunk only;
        only.frame = std::move(frame);
        openChunks({StoryboardChunk{}, only});
    }
    // Every edit job waits once in the queue, then completes; result N names the image eN.
    void scriptService(int results)
    {
        QStringList names;
        for (int i = 1; i <= results; ++i)
            names << QStringLiteral("e%1").arg(i);
        scriptJobs(QLatin1Char('/') + store->settings().editWorkflow(), {accepted}, serveImages(names),
                   {reply(R"({"status":"IN_QUEUE","queue_position":2})"), completed});
    }
    void edit(const QString &request) { blockingWait(editFrame(*store, chunk(1).id, request)); }
};

TEST_F(FrameEditing, UndoAndRedoMoveOneVersionWithItsChecks)
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
        openChunks({chunkFrom(c.before), chunkFrom("x | y |")});
        const StoryboardChunk other = chunk(1);
        (c.isUndo ? undoFrame : redoFrame)(*store, chunk(0).id);
        EXPECT_EQ(history(chunk(0)), QString::fromUtf8(c.after)) << c.before;
        EXPECT_EQ(chunk(0).isAccepted(), c.accepted) << c.before;
        EXPECT_EQ(chunk(1), other);
        EXPECT_GT(store->project().updatedAt, longAgo) << "touched even when nothing moved";
    }
}

TEST_F(FrameEditing, ReviewAcceptsAChunkOnlyWithAllFiveChecksAndAcceptsManyInOneChange)
{
    openChunks({chunkFrom("| x |"), chunkFrom("| y |"), chunkFrom("| a |"), StoryboardChunk{}});
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

TEST_F(FrameEditing, EditsStartFromTheCurrentVersionAndCutOffWhatWasUndone)
{
    openWithFrame(version(QStringLiteral("generated"), 5));
    const GeneratedFrame generated = *chunk(1).frame;
    scriptService(3);

    edit(QStringLiteral("  make the sky sunset orange\n"));
    ASSERT_EQ(store->session().lastError(), std::nullopt);
    EXPECT_EQ(tasks, (QStringList{QStringLiteral("Editing frame 2"), QStringLiteral("In queue (position 2)"),
                                  QStringLiteral("(none)")}));
    EXPECT_EQ(submissions().last(),
              (QJsonObject{{QStringLiteral("frame_to_edit"), QJsonArray{*generated.remoteURL}},
                           {QStringLiteral("users_edit_request"), QStringLiteral("make the sky sunset orange")}}));
    const GeneratedFrame first = *chunk(1).frame;
    EXPECT_EQ(first.remoteURL, imageURL(QStringLiteral("e1")));
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
    server.script(QStringLiteral("GET"), resultPath, {reply(R"({"images":[]})")});
    edit(QStringLiteral("make it blue"));
    EXPECT_EQ(store->session().lastError(), QStringLiteral("No image was returned."));
    EXPECT_EQ(store->project(), before);

    server.script(QStringLiteral("POST"), QLatin1Char('/') + store->settings().editWorkflow(), {reply(R"({"detail":"busy"})", 503)});
    edit(QStringLiteral("make it blue"));
    ASSERT_TRUE(store->session().lastError());
    EXPECT_TRUE(store->session().lastError()->startsWith(QStringLiteral("Generation error 503"))) << store->session().lastError()->toStdString();
    EXPECT_EQ(store->project(), before);
}

} // namespace
