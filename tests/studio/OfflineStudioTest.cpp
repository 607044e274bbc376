#include "generation/FalClient.h"
#include "generation/PlanParser.h"
#include "store/BlockingWait.h"
#include "studio/OfflineStudio.h"
#include "support/Fixtures.h"

#include <QDir>
#include <QFileInfo>
#include <QImage>
#include <QJsonArray>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace quillvane {
namespace {

// The real client against the studio, polling fast; the open project's pictures are in
// projectFolder.
struct Session {
    QTemporaryDir projectFolder;
    studio::OfflineStudio studio{[this] { return QStringList{projectFolder.path()}; }};
    QNetworkAccessManager network;
    FalClient client{studio.baseURL(), &network, std::chrono::milliseconds(5)};

    QJsonObject job(const QString &workflow, const QJsonObject &input, QList<FalProgress> *seen = nullptr)
    {
        auto submitting = client.submit(workflow, input);
        const SubmitResponse submission = blockingWait(std::move(submitting));
        EXPECT_EQ(submission.statusURL.host(), QStringLiteral("127.0.0.1"));
        QObject requester;
        ProgressTarget progress{&requester, [seen](const FalProgress &p) {
                                    if (seen)
                                        seen->append(p);
                                }};
        auto waiting = client.awaitCompletion(submission, progress, {});
        blockingWait(std::move(waiting));
        test::processEventsFor(std::chrono::milliseconds(20));
        auto fetching = client.fetchResult(submission.responseURL);
        return blockingWait(std::move(fetching));
    }
};

// Frames painted and edited through the studio are checked on the command line's road.
TEST(OfflineStudio, ServesThePlanAndElementsThroughTheQueue)
{
    Session session;
    QList<FalProgress> seen;
    const QJsonObject planned = session.job(
        QStringLiteral("workflows/brackenfold/lyric-video-planner-character"),
        {{QStringLiteral("artist"), QStringLiteral("Mara Vale")},
         {QStringLiteral("duration_seconds"), 12},
         {QStringLiteral("transcript"), QStringLiteral("[0.0-4.0] City lights are burning low\n[4.0-8.0] Down the road "
                                                       "we used to know\n[8.0-12.0] We are letters in the snow")},
         {QStringLiteral("style_guidance"), QStringLiteral("snowy night")},
         {QStringLiteral("image_urls"), QJsonArray{}}},
        &seen);
    ASSERT_GE(seen.size(), 2);
    EXPECT_EQ(seen.first().status, QStringLiteral("IN_QUEUE"));
    EXPECT_EQ(seen.first().queuePosition, 0);
    EXPECT_TRUE(std::any_of(seen.begin(), seen.end(), [](const FalProgress &p) { return !p.logs.isEmpty(); }));
    const PlanParser::Parsed plan = PlanParser::parse(planned);
    EXPECT_EQ(plan.chunks.size(), 3);

    // The element job as the client sends it: the plan as its JSON text, whose palette the
    // emblem is painted in.
    QObject requester;
    auto rendering = session.client.renderElement(QStringLiteral("workflows/brackenfold/element-image"),
                                                  QJsonValue(plan.plan.rawJSON), QStringLiteral("lantern"),
                                                  {&requester, {}}, {});
    const FalClient::RenderedElement element = blockingWait(std::move(rendering));
    const QString elementPath = session.projectFolder.filePath(QStringLiteral("element.png"));
    blockingWait(session.client.download(element.imageURL, elementPath));
    const QImage emblem(elementPath);
    EXPECT_EQ(emblem.size(), QSize(1024, 1024));
    ASSERT_FALSE(plan.plan.palette.isEmpty());
    EXPECT_EQ(emblem.pixelColor(0, 0), QColor(plan.plan.palette.first()));
}

// An input of no known shape, and an edit of a picture the studio never made, fail as jobs,
// not as crashes; the studio's pictures go with it.
TEST(OfflineStudio, RefusesWhatItCannotUseAsAJobAndRemovesItsPicturesWhenItStops)
{
    auto session = std::make_unique<Session>();
    const std::pair<QString, QJsonObject> refused[] = {
        {QStringLiteral("anything"), {{QStringLiteral("nonsense"), 1}}},
        {QStringLiteral("edit"),
         {{QStringLiteral("frame_to_edit"), QJsonArray{QStringLiteral("http://127.0.0.1/files/none.png")}},
          {QStringLiteral("users_edit_request"), QStringLiteral("x")}}},
    };
    for (const auto &[workflow, input] : refused)
        EXPECT_THROW(session->job(workflow, input), FalError) << workflow.toStdString();
    const QString folder = session->studio.folder();
    EXPECT_TRUE(QFileInfo::exists(folder));
    session.reset();
    EXPECT_FALSE(QFileInfo::exists(folder));
}

// Pictures are served by name, under this process's token, from the studio's own folder and
// the open project's; nothing else is, and a refusal carries no bytes.
TEST(OfflineStudio, ServesOnlyItsOwnAndTheOpenProjectsPicturesUnderItsToken)
{
    Session session;
    QTemporaryDir otherProject;
    QImage picture(8, 8, QImage::Format_RGB32);
    picture.fill(Qt::green);
    picture.save(QDir(session.projectFolder.path()).filePath(QStringLiteral("held.png")));
    picture.save(QDir(otherProject.path()).filePath(QStringLiteral("other.png")));
    const QJsonObject frame = session.job(
        QStringLiteral("workflows/brackenfold/lyric-video-frames-character"),
        FalClient::frameInput(QStringLiteral("The exact text \"Hi\" is physically present on a sign."), QString(), {},
                              VideoShape::portrait));
    const QUrl own(*FalClient::findImageURL(frame));
    const QString token = own.path().section(QLatin1Char('/'), 2, 2);
    const QString base = own.adjusted(QUrl::RemovePath).toString();

    const auto fetch = [&session](const QString &url) {
        QNetworkReply *reply = session.network.get(QNetworkRequest(QUrl(url)));
        test::processEventsUntil([reply] { return reply->isFinished(); }, std::chrono::seconds(10));
        const std::pair result{reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt(), reply->readAll()};
        reply->deleteLater();
        return result;
    };
    const std::tuple<const char *, QString, int> cases[] = {
        {"its own picture", own.path(), 200},
        {"a picture of the open project, by name", QStringLiteral("/files/%1/held.png").arg(token), 200},
        {"without the token", QStringLiteral("/files/held.png"), 404},
        {"with another token", QStringLiteral("/files/0123456789abcdef0123456789abcdef/held.png"), 404},
        {"a name from another project", QStringLiteral("/files/%1/other.png").arg(token), 404},
        {"a path out of the folder", QStringLiteral("/files/%1/..%2F..%2Fetc%2Fpasswd").arg(token), 404},
        {"a path into another project",
         QStringLiteral("/files/%1/%2").arg(token, QString::fromLatin1(QUrl::toPercentEncoding(otherProject.filePath(QStringLiteral("other.png"))))),
         404},
    };
    for (const auto &[name, path, expected] : cases) {
        const auto [status, bytes] = fetch(base + path);
        EXPECT_EQ(status, expected) << name;
        EXPECT_EQ(bytes.isEmpty(), expected == 404) << name;
    }
    EXPECT_EQ(QImage::fromData(fetch(own.toString()).second).size(), QSize(1080, 1920)) << "painted in the shape asked";
}

} // namespace
} // namespace quillvane
