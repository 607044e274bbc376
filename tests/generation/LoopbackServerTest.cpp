// The loopback server the generation client is tested against: if it misroutes, misrecords or
// blocks, every client test built on it proves nothing.

#include "support/Fixtures.h"
#include "support/LoopbackServer.h"

#include <QElapsedTimer>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QNetworkRequest>

#include <gtest/gtest.h>

#include <memory>

using namespace quillvane;
using namespace quillvane::test;
using namespace std::chrono_literals;

namespace {

struct Answer {
    int status = 0;
    QByteArray body;
    QByteArray contentType;
};

// Sends one request and runs the event loop until its reply is in.
std::unique_ptr<QNetworkReply> send(QNetworkAccessManager &network, const QByteArray &verb, const QUrl &url,
                                    const QByteArray &body = {}, const QList<std::pair<QByteArray, QByteArray>> &headers = {})
{
    QNetworkRequest request(url);
    for (const auto &[name, value] : headers)
        request.setRawHeader(name, value);
    return std::unique_ptr<QNetworkReply>(network.sendCustomRequest(request, verb, body));
}

Answer answerOf(QNetworkReply &reply)
{
    EXPECT_TRUE(processEventsUntil([&] { return reply.isFinished(); }, 5s)) << "no reply";
    return {reply.attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt(), reply.readAll(),
            reply.rawHeader("Content-Type")};
}

Answer fetch(QNetworkAccessManager &network, const QByteArray &verb, const QUrl &url)
{
    const auto reply = send(network, verb, url);
    return answerOf(*reply);
}

ScriptedReply reply(int status, const QByteArray &body, std::chrono::milliseconds delay = 0ms)
{
    ScriptedReply r;
    r.status = status;
    r.body = body;
    r.delay = delay;
    return r;
}

} // namespace

TEST(LoopbackServer, ScriptedRepliesAreServedInTurnAndTheLastRepeats)
{
    LoopbackServer server;
    server.script(QStringLiteral("GET"), QStringLiteral("/status"),
                  {reply(202, R"({"status":"IN_QUEUE"})"), reply(200, R"({"status":"COMPLETED"})")});
    QNetworkAccessManager network;

    const QList<std::pair<int, QByteArray>> expected = {
        {202, R"({"status":"IN_QUEUE"})"}, {200, R"({"status":"COMPLETED"})"}, {200, R"({"status":"COMPLETED"})"}};
    for (const auto &[status, body] : expected) {
        const Answer answer = fetch(network, "GET", server.url(QStringLiteral("status")));
        EXPECT_EQ(answer.status, status);
        EXPECT_EQ(answer.body, body);
        EXPECT_EQ(answer.contentType, "application/json");
    }
    EXPECT_EQ(server.count(QStringLiteral("GET"), QStringLiteral("/status")), 3);
}

TEST(LoopbackServer, ARequestIsRecordedAsSent)
{
    LoopbackServer server;
    server.script(QStringLiteral("POST"), QStringLiteral("/fal-ai/model"), {reply(200, "{}")});
    QNetworkAccessManager network;

    const auto sent = send(network, "POST", server.url(QStringLiteral("/fal-ai/model?seed=7&prompt=a%20cat")),
                           R"({"n":1})", {{"Authorization", "Key secret"}, {"Content-Type", "application/json"}});
    EXPECT_EQ(answerOf(*sent).status, 200);

    const QList<RecordedRequest> requests = server.requests();
    ASSERT_EQ(requests.size(), 1);
    const RecordedRequest &r = requests.first();
    EXPECT_EQ(r.method, QStringLiteral("POST"));
    EXPECT_EQ(r.path, QStringLiteral("/fal-ai/model"));
    EXPECT_EQ(r.query, QStringLiteral("seed=7&prompt=a%20cat"));
    EXPECT_EQ(r.headers.value(QStringLiteral("authorization")), QStringLiteral("Key secret"));
    EXPECT_EQ(r.headers.value(QStringLiteral("content-type")), QStringLiteral("application/json"));
    EXPECT_FALSE(r.headers.contains(QStringLiteral("remote_addr")));
    EXPECT_EQ(r.body, R"({"n":1})");
}

TEST(LoopbackServer, WhatNoScriptCoversAnswers404)
{
    LoopbackServer server;
    server.serveFile(QStringLiteral("/image.png"), "\x89PNG", "image/png");
    QNetworkAccessManager network;

    const struct {
        const char *description;
        QByteArray verb;
        QString path;
    } rows[] = {
        {"unscripted path", "GET", QStringLiteral("/other.png")},
        {"scripted path, other method", "POST", QStringLiteral("/image.png")},
        {"scripted path with a trailing slash", "GET", QStringLiteral("/image.png/")},
    };
    for (const auto &row : rows) {
        const Answer answer = fetch(network, row.verb, server.url(row.path));
        EXPECT_EQ(answer.status, 404) << row.description;
        EXPECT_TRUE(answer.body.isEmpty()) << row.description;
    }
    const Answer file = fetch(network, "GET", server.url(QStringLiteral("/image.png")));
    EXPECT_EQ(file.body, "\x89PNG");
    EXPECT_EQ(file.contentType, "image/png");
}

TEST(LoopbackServer, ADelayedReplyArrivesLateWithoutHoldingUpOthers)
{
    LoopbackServer server;
    server.script(QStringLiteral("GET"), QStringLiteral("/slow"), {reply(200, "slow", 400ms)});
    server.script(QStringLiteral("GET"), QStringLiteral("/fast"), {reply(200, "fast")});
    QNetworkAccessManager network;

    QElapsedTimer clock;
    clock.start();
    const auto slow = send(network, "GET", server.url(QStringLiteral("/slow")));
    const auto fast = send(network, "GET", server.url(QStringLiteral("/fast")));
    EXPECT_EQ(answerOf(*fast).body, "fast");
    EXPECT_FALSE(slow->isFinished()) << "the fast reply waited for the slow one";
    EXPECT_EQ(answerOf(*slow).body, "slow");
    EXPECT_GE(clock.elapsed(), 400);
}
