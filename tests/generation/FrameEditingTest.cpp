// A chunk's frame history and review: versions move between the stacks without being made or
// lost, checks travel with their version, and an edit starts from the frame the user saw.

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
    frame.prompt = name;
    for (int i = 0; i < checks; ++i)
        field(frame.review, allReviewChecks.at(i)) = true;
    return frame;
}

// A history written as "undo... | current | redo..." with version names, for readable tables.
// Version "a" is accepted everywhere and the others are not, so acceptance can be seen to travel.
StoryboardChunk chunkFrom(const char *text)
{
    QList<QList<GeneratedFrame>> stacks;
    for (const QString &part : QString::fromUtf8(text).split(u'|')) {
        stacks.emplaceBack();
        for (const QString &name : part.split(u' ', Qt::SkipEmptyParts))
            stacks.last() << version(name, name == QStringLiteral("a") ? 5 : 2);
    }
    StoryboardChunk chunk;
    chunk.undoStack = stacks.value(0);
    if (!stacks.value(1).isEmpty())
        chunk.frame = stacks[1].first();
    chunk.redoStack = stacks.value(2);
    return chunk;
}

QString history(const StoryboardChunk &chunk)
{
    QString text;
    for (const GeneratedFrame &frame : chunk.undoStack)
        text += frame.prompt + u' ';
    text += QStringLiteral("| ") + (chunk.frame ? chunk.frame->prompt : QString()) + QStringLiteral(" |");
    for (const GeneratedFrame &frame : chunk.redoStack)
        text += u' ' + frame.prompt;
    return text.simplified();
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
    QString editPath() const { return QLatin1Char('/') + store->settings().editWorkflow(); }
    // Every edit job waits once in the queue, then completes; result N names the image eN.
    void scriptService(int results)
    {
        QStringList names;
        for (int i = 1; i <= results; ++i)
            names << QStringLiteral("e%1").arg(i);
        scriptJobs(editPath(), {accepted}, serveImages(names), {reply(R"({"status":"IN_QUEUE","queue_position":2})"), completed});
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
        EXPECT_EQ(chunk(0).isAccepted(LyricsOnScreen::painted), c.accepted) << c.before;
        EXPECT_EQ(chunk(1), other);
        EXPECT_GT(store->project().updatedAt, longAgo) << "touched even when nothing moved";
    }
}

TEST_F(FrameEditing, ReviewAcceptsAChunkOnlyWithAllFiveChecksAndAcceptsManyInOneChange)
{
    openChunks({chunkFrom("| x |"), chunkFrom("| y |"), chunkFrom("| a |"), StoryboardChunk{}});
    setReviewCheck(*store, chunk(0).id, ReviewCheck::styleContinuous, true);
    EXPECT_EQ(reviewSummary(chunk(0).frame->review, LyricsOnScreen::painted), QStringLiteral("3/5 checks"));
    EXPECT_EQ(store->project().acceptedCount(LyricsOnScreen::painted), 1);

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
    EXPECT_EQ(reviewSummary(chunk(1).frame->review, LyricsOnScreen::painted), QStringLiteral("Accepted"));
    EXPECT_EQ(store->project().acceptedCount(LyricsOnScreen::painted), 3);
    EXPECT_FALSE(store->project().allChunksAccepted(LyricsOnScreen::painted)) << "the chunk without a frame holds export back";
    EXPECT_FALSE(Project{}.allChunksAccepted(LyricsOnScreen::painted)) << "an empty storyboard is never accepted";
}

TEST_F(FrameEditing, EditsStartFromTheCurrentVersionAndCutOffWhatWasUndone)
{
    openChunks({StoryboardChunk{}, chunkFrom("| a |")});
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

    undoFrame(*store, chunk(1).id);
    undoFrame(*store, chunk(1).id);
    EXPECT_EQ(chunk(1).frame, generated);
    EXPECT_TRUE(chunk(1).isAccepted(LyricsOnScreen::painted)) << "undoing the edits brings back the accepted version";
    EXPECT_EQ(versionLabel(chunk(1)), QStringLiteral("Version 1 · 2 redo"));

    edit(QStringLiteral("add rain"));
    EXPECT_EQ(submissions().last()[QStringLiteral("frame_to_edit")], QJsonArray{*generated.remoteURL});
    EXPECT_EQ(chunk(1).undoStack, QList<GeneratedFrame>{generated});
    EXPECT_TRUE(chunk(1).redoStack.isEmpty());
    EXPECT_EQ(chunk(1).frame->editRequest, QStringLiteral("add rain"));
}

// A blank request or a frame with nothing to edit from sends nothing; a service fault ends in
// its sentence. Either way the history stays as it was.
TEST_F(FrameEditing, ARefusedOrFailedEditLeavesTheHistoryAsItWas)
{
    std::optional<GeneratedFrame> withoutURL = version(QStringLiteral("g"));
    withoutURL->remoteURL = QString();
    const struct {
        std::optional<GeneratedFrame> frame;
        const char *request;
        std::optional<ScriptedReply> submit, result; // the service's fault, if any
        std::optional<QString> error;                // how the sentence starts
        int jobs;
    } cases[] = {
        {version(QStringLiteral("g"), 3), " \n\t ", {}, {}, std::nullopt, 0},
        {withoutURL, "make it blue", {}, {}, noEditSourceMessage, 0},
        {std::nullopt, "make it blue", {}, {}, noEditSourceMessage, 0},
        {version(QStringLiteral("g"), 3), "make it blue", {}, reply(R"({"images":[]})"),
         QStringLiteral("No image was returned."), 1},
        {version(QStringLiteral("g"), 3), "make it blue", reply(R"({"detail":"busy"})", 503), {},
         QStringLiteral("Generation error 503"), 1},
    };
    for (const auto &c : cases) {
        StoryboardChunk only;
        only.frame = c.frame;
        only.undoStack = {version(QStringLiteral("earlier"))};
        openChunks({StoryboardChunk{}, only});
        scriptService(1);
        if (c.submit)
            server.script(QStringLiteral("POST"), editPath(), {*c.submit});
        if (c.result)
            server.script(QStringLiteral("GET"), resultPath, {*c.result});
        const Project before = store->project();
        const int sent = server.count(QStringLiteral("POST"), editPath());

        edit(QString::fromUtf8(c.request));

        const std::optional<QString> error = store->session().lastError();
        EXPECT_EQ(error.has_value(), c.error.has_value()) << c.request;
        EXPECT_TRUE(error.value_or(QString()).startsWith(c.error.value_or(QString()))) << qPrintable(error.value_or(QString()));
        EXPECT_EQ(store->project(), before);
        EXPECT_EQ(server.count(QStringLiteral("POST"), editPath()), sent + c.jobs);
    }
}

} // namespace
