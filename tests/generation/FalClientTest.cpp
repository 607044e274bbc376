// The generation client over a real loopback connection: what it sends, how it reads replies,
// when polling stops, what the user is told; and reference images on their way out as JPEG.

#include "generation/FalClient.h"
#include "pipeline/GenerationOperations.h"
#include "store/BlockingWait.h"
#include "support/Fixtures.h"
#include "support/LoopbackServer.h"

#include <QImage>
#include <QJsonDocument>
#include <QNetworkAccessManager>
#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace quillvane;
using namespace quillvane::test;
using namespace std::chrono_literals;

namespace {

const QString queuePath = QStringLiteral("/api/fal/queue/requests/req-1");
const QString statusPath = queuePath + QStringLiteral("/status");

// How a call ended: empty when it succeeded, "(cancelled)", or the sentence the user sees.
template <typename T>
QString failureOf(QCoro::Task<T> task)
{
    try {
        blockingWait(std::move(task));
    } catch (const Error &error) {
        return error.description();
    } catch (const Cancelled &) {
        return QStringLiteral("(cancelled)");
    }
    return {};
}

class FalClientTest : public testing::Test {
protected:
    LoopbackServer server;
    // Gone before the server, so kept-alive connections close and the server need not wait.
    QNetworkAccessManager network;
    // A base URL with a path, as the real proxy's has: every request must land under it.
    FalClient client{server.url(QStringLiteral("/api/fal")), &network, 1ms};

    SubmitResponse job(const QString &statusQuery = {}) const
    {
        return {QStringLiteral("req-1"), server.url(statusPath + statusQuery), server.url(queuePath)};
    }
    void scriptPolls(const QList<ScriptedReply> &replies) { server.script(QStringLiteral("GET"), statusPath, replies); }
    int polls() const { return server.count(QStringLiteral("GET"), statusPath); }
};

TEST_F(FalClientTest, SubmitPostsCompactJSONUnderTheBasePathRebasesTheJobURLsAndRejectsAnUnusableReply)
{
    server.script(QStringLiteral("POST"), QStringLiteral("/api/fal/fal-ai/flux/dev"),
                  {reply(R"({"request_id":"abc","status_url":"https://queue.fal.run/fal-ai/flux/requests/abc/status",)"
                         R"("response_url":"https://queue.fal.run/fal-ai/flux/requests/abc?v=a%20b"})")});
    const QJsonObject input{{QStringLiteral("prompt"), QStringLiteral("neon rain")}, {QStringLiteral("n"), 1}};

    const SubmitResponse submission = blockingWait(client.submit(QStringLiteral("fal-ai/flux/dev"), input));

    EXPECT_EQ(submission.requestID, QStringLiteral("abc"));
    EXPECT_EQ(submission.statusURL.toString(),
              server.url(QStringLiteral("/api/fal/fal-ai/flux/requests/abc/status")).toString());
    EXPECT_EQ(submission.responseURL.toString(QUrl::FullyEncoded),
              server.url(QStringLiteral("/api/fal/fal-ai/flux/requests/abc?v=a%20b")).toString(QUrl::FullyEncoded));
    const QList<RecordedRequest> requests = server.requests();
    ASSERT_EQ(requests.size(), 1);
    EXPECT_EQ(requests[0].method, QStringLiteral("POST"));
    EXPECT_EQ(requests[0].path, QStringLiteral("/api/fal/fal-ai/flux/dev"));
    EXPECT_EQ(requests[0].headers.value(QStringLiteral("content-type")), QStringLiteral("application/json"));
    EXPECT_FALSE(requests[0].headers.contains(QStringLiteral("authorization")));
    EXPECT_EQ(requests[0].body, QByteArray(R"({"n":1,"prompt":"neon rain"})"));

    // A reply without a usable job is rejected; one that is not JSON at all is a plain error.
    const std::pair<QByteArray, bool> cases[] = {
        {R"({"request_id":"r","status_url":"https://q.fal.run/s"})", true},
        {R"({"request_id":"r","status_url":"https://q fal run/s","response_url":"https://q.fal.run/r"})", true},
        {"<html>gateway</html>", false},
    };
    for (const auto &[body, malformed] : cases) {
        server.script(QStringLiteral("POST"), QStringLiteral("/api/fal/fal-ai/flux/dev"), {reply(body)});
        const QString failure = failureOf(client.submit(QStringLiteral("fal-ai/flux/dev"), {}));
        EXPECT_FALSE(failure.isEmpty()) << body.constData();
        EXPECT_EQ(failure == QStringLiteral("Unexpected response from the generation service."), malformed) << body.constData();
    }
}

TEST(FalClient, RebaseMovesTheServiceURLOntoTheProxy)
{
    const char *const cases[][3] = {
        // service URL, base, expected; a submit's own rebasing is checked above
        {"https://queue.fal.run/r/1", "http://127.0.0.1:8080/p?k=v", "http://127.0.0.1:8080/p/r/1"},
        {"r/1", "https://studio.quillvane.app", "r/1"},
    };
    for (const auto &c : cases)
        EXPECT_EQ(FalClient::rebase(QUrl(QString::fromUtf8(c[0])), QUrl(QString::fromUtf8(c[1]))).toString(QUrl::FullyEncoded),
                  QString::fromUtf8(c[2]));
}

TEST_F(FalClientTest, PollingStopsAtOnceAtAFailureOrACancelAndAfter400PollsInTheQueue)
{
    const QByteArray longBody = QByteArray("0123456789").repeated(200);
    const QString kept = QString::fromLatin1(longBody.left(500));
    const std::pair<ScriptedReply, QString> cases[] = {
        {reply("{}", 403), QStringLiteral("The generation service rejected the request.")},
        {reply(longBody, 500), QStringLiteral("Generation error 500: ") + kept},
        {reply("\xff\xfe oops", 502), QStringLiteral("Generation error 502: ")}, // a body that is not UTF-8 is left out
        {reply(R"({"status":"FAILED"})"), QStringLiteral("Generation failed (FAILED).")},
    };
    for (const auto &[failing, sentence] : cases) {
        const int before = polls();
        scriptPolls({failing, reply(R"({"status":"COMPLETED"})")});
        EXPECT_EQ(failureOf(client.awaitCompletion(job(), {}, CancelToken())), sentence);
        EXPECT_EQ(polls(), before + 1);
    }

    CancelToken cancel;
    cancel.cancel();
    const int before = polls();
    EXPECT_EQ(failureOf(client.awaitCompletion(job(), {}, cancel)), QStringLiteral("(cancelled)"));
    EXPECT_EQ(polls(), before) << "a cancelled task stops before polling";

    scriptPolls({reply(R"({"status":"IN_QUEUE"})")});
    EXPECT_EQ(failureOf(client.awaitCompletion(job(), {}, CancelToken())), QStringLiteral("The generation job timed out."));
    EXPECT_EQ(polls(), before + 400) << "it gives up after 400 polls in the queue";
}

TEST_F(FalClientTest, PollsUntilCompletedAndReportsEachStatusWhileTheRequesterLives)
{
    scriptPolls({reply("not json"),
                 reply(R"({"status":"IN_QUEUE","queue_position":2,)"
                       R"("logs":[{"message":"a"},{"level":"info"},{"message":"b"}]})"),
                 reply(R"({"status":"IN_PROGRESS","queue_position":2.5,"logs":[{"message":"a"},"b"]})"),
                 reply(R"({"status":"COMPLETED","logs":{"message":"a"}})")});
    QObject requester;
    QList<FalProgress> received;
    const ProgressTarget target{&requester, [&](const FalProgress &p) { received.append(p); }};

    blockingWait(client.awaitCompletion(job(QStringLiteral("?token=x%20y")), target, CancelToken()));

    EXPECT_TRUE(processEventsUntil([&] { return received.size() == 4; }, 2s));
    const QList<FalProgress> expected = {
        {QStringLiteral("IN_PROGRESS"), std::nullopt, {}},
        {QStringLiteral("IN_QUEUE"), 2, {QStringLiteral("a"), QStringLiteral("b")}},
        {QStringLiteral("IN_PROGRESS"), std::nullopt, {}},
        {QStringLiteral("COMPLETED"), std::nullopt, {}},
    };
    EXPECT_TRUE(received == expected);
    const QList<RecordedRequest> requests = server.requests();
    ASSERT_EQ(requests.size(), 4);
    for (const RecordedRequest &request : requests) {
        EXPECT_EQ(request.query, QStringLiteral("token=x%20y&logs=1"));
        EXPECT_FALSE(request.headers.contains(QStringLiteral("authorization")));
    }

    // Progress stops when the requester is gone, but polling goes on. The second reply waits,
    // so the requester's deletion is through before it arrives.
    scriptPolls({reply(R"({"status":"IN_QUEUE"})"), reply(R"({"status":"IN_QUEUE"})", 200, 150ms),
                 reply(R"({"status":"COMPLETED"})")});
    auto *gone = new QObject;
    int late = 0;
    const ProgressTarget dropped{gone, [&](const FalProgress &) {
                                     ++late;
                                     gone->deleteLater();
                                 }};
    blockingWait(client.awaitCompletion(job(), dropped, CancelToken()));
    processEventsFor(50ms);
    EXPECT_EQ(late, 1);
    EXPECT_EQ(polls(), 4 + 3);
}

TEST(FalClient, FindsTheFirstImageDepthFirst)
{
    const std::pair<const char *, std::optional<QString>> cases[] = {
        {R"({"images":[{"url":"https://x.test/a.png"}]})", QStringLiteral("https://x.test/a.png")},
        {R"({"url":"https://x.test/late.png","image":{"url":"https://fal.media/files/k"}})",
         QStringLiteral("https://fal.media/files/k")},
        {R"({"images":[1,"no"],"image":"https://x.test/B.WEBP"})", QStringLiteral("https://x.test/B.WEBP")},
        {R"({"url":"https://example.com/page","data":["https://fal.run/out"]})", QStringLiteral("https://fal.run/out")},
        {R"({"images":[{"url":"ftp://fal.media/a.png"}]})", std::nullopt},
    };
    for (const auto &[json, expected] : cases)
        EXPECT_EQ(FalClient::findImageURL(QJsonDocument::fromJson(json).object()), expected) << json;
}

QString writeImage(const QTemporaryDir &dir, const QString &name, QSize size)
{
    QImage image(size, QImage::Format_ARGB32);
    image.fill(QColor(200, 40, 90, 160));
    const QString path = dir.filePath(name);
    EXPECT_TRUE(image.save(path));
    return path;
}

// The size of the JPEG inside a data URL, all on one line.
QSize jpegSize(const QString &url)
{
    const QString prefix = QStringLiteral("data:image/jpeg;base64,");
    EXPECT_TRUE(url.startsWith(prefix) && !url.contains(u'\n') && !url.contains(u'\r')) << url.left(40).toStdString();
    const QByteArray jpeg = QByteArray::fromBase64(url.mid(prefix.size()).toLatin1(), QByteArray::AbortOnBase64DecodingErrors);
    EXPECT_TRUE(jpeg.startsWith("\xff\xd8\xff")) << "not a JPEG";
    return QImage::fromData(jpeg, "JPEG").size();
}

TEST(ImageData, IsSentAsJpegShrunkToTheUploadSizeNeverEnlargedAndNotAtAllWhenUnreadable)
{
    QTemporaryDir dir;
    const QSize cases[][2] = {{{3000, 1500}, {1024, 512}}, {{1000, 3000}, {341, 1024}}, {{640, 480}, {640, 480}}};
    for (const auto &c : cases) {
        const std::optional<QString> url = imageDataURL(writeImage(dir, QStringLiteral("ref.png"), c[0]));
        ASSERT_TRUE(url);
        EXPECT_EQ(jpegSize(*url), c[1]);
    }
    writeFile(dir.filePath(QStringLiteral("notes.png")), "just some text, not pixels");
    writeFile(dir.filePath(QStringLiteral("empty.jpg")), {});
    for (const QString &name : {QStringLiteral("missing.png"), QStringLiteral("notes.png"), QStringLiteral("empty.jpg")})
        EXPECT_FALSE(imageDataURL(dir.filePath(name))) << name.toStdString();
}

// An address on this computer never reaches another server: the project's file goes as its
// bytes, and without the file the step stops with a sentence.
TEST(ImageData, LoopbackPicturesTravelAsTheirBytesOrNotAtAll)
{
    QTemporaryDir dir;
    const QString kept = writeImage(dir, QStringLiteral("kept.png"), QSize(64, 48));
    const QString studio = QStringLiteral("http://127.0.0.1:41000/files/token/frame-1.png");
    const QUrl service(QStringLiteral("https://service.example"));
    const struct {
        const char *name;
        QString url;
        std::optional<QString> localPath;
        QUrl base;
        const char *expected; // "same", "data" or "refused"
    } cases[] = {
        {"a remote picture", QStringLiteral("https://cdn.example/a.png"), kept, service, "same"},
        {"the studio's own picture, to the studio", studio, kept, QUrl(QStringLiteral("http://127.0.0.1:41000")), "same"},
        {"a studio picture, to the service", studio, kept, service, "data"},
        {"an earlier studio's picture, to this studio", studio, kept, QUrl(QStringLiteral("http://127.0.0.1:42000")), "data"},
        {"a studio picture whose file is gone", studio, dir.filePath(QStringLiteral("gone.png")), service, "refused"},
        {"a studio picture with no file", QStringLiteral("http://localhost:41000/files/token/e.png"), std::nullopt, service, "refused"},
    };
    for (const auto &c : cases) {
        try {
            const QString sent = blockingWait(reachableImageURL(c.url, c.localPath, 1024, c.base));
            if (QByteArray(c.expected) == "same")
                EXPECT_EQ(sent, c.url) << c.name;
            else
                EXPECT_EQ(jpegSize(sent), QSize(64, 48)) << c.name << " (" << c.expected << ")";
        } catch (const Error &error) {
            EXPECT_EQ(QByteArray(c.expected), "refused") << c.name;
            EXPECT_TRUE(error.description().contains(QStringLiteral("no longer on this computer"))) << c.name;
        }
    }
}

} // namespace
