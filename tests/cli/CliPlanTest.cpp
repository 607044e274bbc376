// Planning the storyboard through quillvane-cli, with the planner on a loopback server.

#include "CliHome.h"
#include "support/LoopbackServer.h"

#include <QImage>

#include <gtest/gtest.h>

using namespace quillvane;
using quillvane::test::CliHome;
using quillvane::test::CliResult;

namespace {

test::ScriptedReply reply(const QByteArray &body)
{
    test::ScriptedReply r;
    r.body = body;
    return r;
}

} // namespace

TEST(CliPlan, PlansTheStoryboardAndReportsWhatItMade)
{
    CliHome home;
    const QString image = home.path(QStringLiteral("rae.png"));
    QImage picture(16, 16, QImage::Format_RGB32);
    picture.fill(Qt::blue);
    ASSERT_TRUE(picture.save(image));
    Project project;
    project.transcript = {{QUuid::createUuid(), QStringLiteral("City lights are burning low"), 0, 4}};
    home.library().save(project);

    test::LoopbackServer server;
    server.script(QStringLiteral("POST"), QStringLiteral("/workflows/brackenfold/lyric-video-planner-character"),
                  {reply(R"({"request_id":"p","status_url":"https://queue.fal.run/q/p/status",)"
                         R"("response_url":"https://queue.fal.run/q/p"})")});
    server.script(QStringLiteral("GET"), QStringLiteral("/q/p/status"),
                  {reply(R"({"status":"IN_QUEUE","queue_position":1})"), reply(R"({"status":"COMPLETED"})")});
    server.script(QStringLiteral("GET"), QStringLiteral("/q/p"),
                  {reply(R"({"frames":[{"lyricExcerpt":"City"},{"lyricExcerpt":"lights"}],)"
                         R"("elementIds":[{"id":"jacket"}]})")});
    const QStringList plan = {QStringLiteral("--service-url"), server.baseURL().toString(), QStringLiteral("plan")};

    const CliResult withoutCharacter = home.run(plan);
    EXPECT_EQ(withoutCharacter.exitCode, 1);
    EXPECT_TRUE(withoutCharacter.err.contains(
        QStringLiteral("error: Add a character with a reference image before planning")))
        << withoutCharacter.err.toStdString();

    ASSERT_EQ(home.run({QStringLiteral("character"), QStringLiteral("add"), QStringLiteral("Rae"),
                        QStringLiteral("--image"), image})
                  .exitCode,
              0);
    const CliResult planned = home.run(QStringList{QStringLiteral("--json")} + plan);
    EXPECT_EQ(planned.exitCode, 0) << planned.err.toStdString();
    EXPECT_EQ(planned.out.trimmed(), QStringLiteral(R"({"chunks":2,"elements":1})"));
    EXPECT_TRUE(planned.err.contains(QStringLiteral("Planning storyboard"))) << planned.err.toStdString();
    EXPECT_EQ(home.savedProject().chunks.size(), 2);
}
