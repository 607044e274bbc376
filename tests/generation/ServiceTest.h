#pragma once

// A project store whose generation service is a loopback server. Every job is accepted under
// one queue path, so a test scripts the submits, the polls and the results in turn.

#include "generation/FalClient.h"
#include "pipeline/GenerationOperations.h"
#include "store/BlockingWait.h"
#include "support/Fixtures.h"
#include "support/LoopbackServer.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QNetworkAccessManager>

#include <gtest/gtest.h>

namespace quillvane::test {

inline const QString statusPath = QStringLiteral("/queue/job-1/status");
inline const QString resultPath = QStringLiteral("/queue/job-1");
inline const ScriptedReply accepted = reply(R"({"request_id":"job-1","status_url":"https://queue.fal.run/queue/job-1/status",)"
                                            R"("response_url":"https://queue.fal.run/queue/job-1"})");
inline const ScriptedReply completed = reply(R"({"status":"COMPLETED"})");

class ServiceTest : public testing::Test {
protected:
    LoopbackServer server;
    TempLibrary temp;
    std::unique_ptr<ProjectStore> store;
    QStringList tasks; // each running task the user was shown, "(none)" when it cleared

    // The shared session keeps its connections open; closing them lets the server stop at once.
    void TearDown() override { sharedNetwork()->clearConnectionCache(); }

    void open(const Project &project, std::chrono::milliseconds timeout = StoreOptions{}.generationTimeout)
    {
        store = std::make_unique<ProjectStore>(temp.library(), project, PipelineServices{},
                                               StoreOptions{.saveDelay = std::chrono::hours(1),
                                                            .generationPollInterval = std::chrono::milliseconds(1),
                                                            .generationTimeout = timeout});
        store->settings().chooseForThisRun(std::nullopt, server.baseURL());
        tasks.clear();
        QObject::connect(&store->session(), &TaskSession::runningTaskChanged,
                         [this] { tasks << store->session().runningTask().value_or(QStringLiteral("(none)")); });
    }
    QString imageURL(const QString &name) const { return server.url(QStringLiteral("/img/%1.png").arg(name)).toString(); }
    // Serves /img/<name>.png for each name and returns, in turn, a result naming each.
    QList<ScriptedReply> serveImages(const QStringList &names)
    {
        QList<ScriptedReply> results;
        for (const QString &name : names) {
            server.serveFile(QStringLiteral("/img/%1.png").arg(name), png(Qt::red), "image/png");
            const QJsonObject image{{QStringLiteral("url"), imageURL(name)}};
            results << reply(QJsonDocument(QJsonObject{{QStringLiteral("images"), QJsonArray{image}}}).toJson(QJsonDocument::Compact));
        }
        return results;
    }
    void scriptJobs(const QString &workflow, const QList<ScriptedReply> &submits, const QList<ScriptedReply> &results,
                    const QList<ScriptedReply> &polls = {completed})
    {
        server.script(QStringLiteral("POST"), workflow, submits);
        server.script(QStringLiteral("GET"), statusPath, polls);
        server.script(QStringLiteral("GET"), resultPath, results);
    }
    QList<QJsonObject> submissions() const
    {
        QList<QJsonObject> inputs;
        for (const RecordedRequest &request : server.requests())
            if (request.method == QStringLiteral("POST"))
                inputs << QJsonDocument::fromJson(request.body).object();
        return inputs;
    }
};

} // namespace quillvane::test
