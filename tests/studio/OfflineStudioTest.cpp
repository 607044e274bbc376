#include "generation/FalClient.h"
#include "generation/PlanParser.h"
#include "store/BlockingWait.h"
#include "studio/OfflineStudio.h"
#include "support/Fixtures.h"

#include <QImage>
#include <QJsonArray>
#include <QNetworkAccessManager>

#include <gtest/gtest.h>

namespace quillvane {
namespace {

// The real client against the studio, polling fast.
struct Session {
    studio::OfflineStudio studio;
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

    QImage image(const QJsonObject &result, const test::TempLibrary &temp, const QString &name)
    {
        const std::optional<QString> url = FalClient::findImageURL(result);
        EXPECT_TRUE(url);
        const QString path = temp.path(name);
        auto downloading = client.download(url.value_or(QString()), path);
        blockingWait(std::move(downloading));
        return QImage(path);
    }
};

TEST(OfflineStudio, ServesAllFourWorkflowsThroughTheQueue)
{
    Session session;
    test::TempLibrary temp;
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

    const QJsonObject element = session.job(QStringLiteral("workflows/brackenfold/element-image"),
                                            {{QStringLiteral("shot_plan"), QJsonObject{}},
                                             {QStringLiteral("element_id"), QStringLiteral("lantern")}});
    EXPECT_EQ(session.image(element, temp, QStringLiteral("element.png")).size(), QSize(1024, 1024));

    QImage face(64, 64, QImage::Format_RGB32);
    face.fill(Qt::magenta);
    const QString facePath = temp.path(QStringLiteral("face.png"));
    face.save(facePath);
    const QJsonObject frame = session.job(
        QStringLiteral("workflows/brackenfold/lyric-video-frames-character"),
        FalClient::frameInput(QStringLiteral("The exact text \"City lights\" is physically present on a shop sign."),
                              QStringLiteral("NIGHTLIFE"), imageDataURLs({facePath})));
    const QImage painted = session.image(frame, temp, QStringLiteral("frame.png"));
    EXPECT_EQ(painted.size(), QSize(1920, 1080));

    const QString frameURL = *FalClient::findImageURL(frame);
    const QJsonObject edited = session.job(QStringLiteral("workflows/brackenfold/lyric-video-edit-frame"),
                                           {{QStringLiteral("frame_to_edit"), QJsonArray{frameURL}},
                                            {QStringLiteral("users_edit_request"), QStringLiteral("darker")}});
    const QImage darker = session.image(edited, temp, QStringLiteral("edited.png"));
    EXPECT_EQ(darker.size(), QSize(1920, 1080));
    EXPECT_NE(darker, painted);
}

TEST(OfflineStudio, RefusesWhatItCannotUseWithAReadableAnswer)
{
    Session session;
    auto submitting = session.client.submit(QStringLiteral("anything"), {{QStringLiteral("nonsense"), 1}});
    const SubmitResponse submission = blockingWait(std::move(submitting));
    QObject requester;
    auto waiting = session.client.awaitCompletion(submission, {&requester, {}}, {});
    EXPECT_THROW(blockingWait(std::move(waiting)), FalError);

    // An edit of a picture the studio never made fails as a job, not as a crash.
    auto editing = session.client.submit(QStringLiteral("edit"), {{QStringLiteral("frame_to_edit"), QJsonArray{QStringLiteral("http://127.0.0.1/files/none.png")}},
                                                                  {QStringLiteral("users_edit_request"), QStringLiteral("x")}});
    const SubmitResponse edit = blockingWait(std::move(editing));
    auto failing = session.client.awaitCompletion(edit, {&requester, {}}, {});
    EXPECT_THROW(blockingWait(std::move(failing)), FalError);
}

TEST(OfflineStudio, RemovesItsPicturesWhenItStops)
{
    QString folder;
    {
        studio::OfflineStudio studio;
        folder = studio.folder();
        EXPECT_TRUE(QFileInfo::exists(folder));
    }
    EXPECT_FALSE(QFileInfo::exists(folder));
}

} // namespace
} // namespace quillvane
