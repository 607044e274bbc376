// Planning the storyboard through quillvane-cli, with the planner on a loopback server.

#include "CliHome.h"
#include "support/LoopbackServer.h"

#include <QJsonObject>

#include <gtest/gtest.h>

using namespace quillvane;
using quillvane::test::args;
using quillvane::test::CliHome;
using quillvane::test::CliResult;
using quillvane::test::reply;

TEST(CliPlan, TheWholeGenerationRoadRunsThroughTheCommands)
{
    CliHome home;
    const QString image = home.path(QStringLiteral("rae.png"));
    const QByteArray bytes = test::png(Qt::blue);
    test::writeFile(image, bytes);
    Project project;
    project.transcript = {{QUuid::createUuid(), QStringLiteral("City lights"), 0, 4, {}},
                          {QUuid::createUuid(), QStringLiteral("Down the road"), 4, 8, {}}};
    project.characters = {CharacterReference{QUuid::createUuid(), QStringLiteral("Rae"), {}, {image}}};
    home.library().save(project);

    // Every job is accepted under one id and completes at once; the results answer in the
    // order the commands ask for them: the plan, the element, two frames, the edit.
    test::LoopbackServer server;
    const test::ScriptedReply accepted = reply(R"({"request_id":"p","status_url":"https://queue.fal.run/q/p/status",)"
                                               R"("response_url":"https://queue.fal.run/q/p"})");
    for (const char *workflow : {"lyric-video-planner-character", "element-image", "lyric-video-frames-character",
                                 "lyric-video-edit-frame"})
        server.script(QStringLiteral("POST"), QStringLiteral("/workflows/brackenfold/") + QString::fromUtf8(workflow),
                      {accepted});
    server.script(QStringLiteral("GET"), QStringLiteral("/q/p/status"), {reply(R"({"status":"COMPLETED"})")});
    QList<test::ScriptedReply> results{
        reply(R"({"frames":[{"chunkNumber":1,"lyricExcerpt":"City lights","elementIdsUsed":["sign"]},)"
              R"({"chunkNumber":2,"lyricExcerpt":"Down the road","elementIdsUsed":["sign"]}],)"
              R"("elementIds":[{"id":"sign"}]})")};
    for (const QString &name : args("sign one two edit")) {
        server.serveFile(QStringLiteral("/img/") + name + QStringLiteral(".png"), bytes, "image/png");
        results << reply(QStringLiteral(R"({"images":[{"url":"%1"}]})")
                             .arg(server.url(QStringLiteral("/img/") + name + QStringLiteral(".png")).toString())
                             .toUtf8());
    }
    server.script(QStringLiteral("GET"), QStringLiteral("/q/p"), results);

    const QStringList service = {QStringLiteral("--service-url"), server.baseURL().toString()};
    const QList<QStringList> road = {
        args("plan"), args("elements"), args("frames"), args("edit 1") << QStringLiteral("make the letters glow"),
        args("undo 1"), args("review 1 --all"), args("review 2 --all"),
    };
    for (const QStringList &command : road) {
        const CliResult result = home.run(service + command);
        EXPECT_EQ(result.exitCode, 0) << command.join(QLatin1Char(' ')).toStdString() << ": " << result.err.toStdString();
    }

    const QJsonObject status = home.json({QStringLiteral("status")});
    EXPECT_EQ(status.value(QStringLiteral("framed")).toInt(), 2);
    EXPECT_EQ(status.value(QStringLiteral("accepted")).toInt(), 2);
    EXPECT_EQ(status.value(QStringLiteral("stages")).toObject().value(QStringLiteral("export")).toString(),
              QStringLiteral("inProgress"));
    const Project saved = home.savedProject();
    EXPECT_EQ(saved.chunks.first().redoStack.size(), 1) << "the edit was undone";
    EXPECT_EQ(server.count(QStringLiteral("GET"), QStringLiteral("/q/p")), 5);
}
