#pragma once

// The one client of the queue-based generation service behind the proxy: submit a job, poll
// its status until it completes, fetch its result, find and download its image, and turn
// local reference images into JPEG data URLs for upload. Holds no state between jobs and no
// credentials (the proxy authenticates requests).

#include "model/Error.h"
#include "model/Records.h"
#include "store/Cancellation.h"

#include <QCoro/QCoroTask>
#include <QJsonObject>
#include <QJsonValue>
#include <QPointer>
#include <QString>
#include <QStringList>
#include <QUrl>

#include <chrono>
#include <functional>
#include <optional>

class QNetworkAccessManager;

namespace quillvane {

class FalError : public Error {
public:
    enum class Case { badURL, http, jobFailed, unauthorized, malformedResponse, noImageInResponse, timedOut };

    static FalError badURL(const QString &url);
    static FalError http(int status, const QString &body);
    static FalError jobFailed(const QString &status);
    static FalError unauthorized();
    static FalError malformedResponse();
    static FalError noImageInResponse();
    static FalError timedOut();

    Case kind() const { return m_kind; }
    int httpStatus() const { return m_status; }   // http only
    const QString &payload() const { return m_payload; } // the URL, body or job status
    bool operator==(const FalError &other) const
    {
        return m_kind == other.m_kind && m_status == other.m_status && m_payload == other.m_payload;
    }

private:
    FalError(Case kind, const QString &description, int status = 0, QString payload = {});
    Case m_kind;
    int m_status;
    QString m_payload;
};

struct SubmitResponse {
    QString requestID;
    QUrl statusURL;   // rebased onto the client's base URL
    QUrl responseURL; // rebased onto the client's base URL
    bool operator==(const SubmitResponse &) const = default;
};

// What one status poll says.
struct FalProgress {
    QString status;                      // "IN_PROGRESS" when the reply has none
    std::optional<qint64> queuePosition;
    QStringList logs;                    // the log messages, in order
    bool operator==(const FalProgress &) const = default;
};

// Progress goes to the UI thread without the poll loop waiting, and only while the requester
// (the store) still exists.
struct ProgressTarget {
    QPointer<QObject> requester;
    std::function<void(const FalProgress &)> onProgress;
};

class FalClient {
public:
    FalClient(QUrl baseURL, QNetworkAccessManager *network,
              std::chrono::milliseconds pollInterval = std::chrono::milliseconds(1500),
              std::chrono::milliseconds timeout = std::chrono::milliseconds(60000));

    const QUrl &baseURL() const { return m_baseURL; }

    // POST baseURL/path with the input as compact JSON; throws FalError or a transport Error.
    QCoro::Task<SubmitResponse> submit(QString path, QJsonObject input);
    // Polls the status until COMPLETED (at most 400 polls), checking for cancellation first.
    QCoro::Task<> awaitCompletion(SubmitResponse submission, ProgressTarget progress, CancelToken cancel);
    // The result document; an unreadable one is an empty object.
    QCoro::Task<QJsonObject> fetchResult(QUrl responseURL);

    struct RenderedElement {
        QString imageURL;
        QString elementID;
        bool operator==(const RenderedElement &) const = default;
    };
    // Runs the element-image workflow for one plan element.
    QCoro::Task<RenderedElement> renderElement(QString path, QJsonValue shotPlan, QString elementID,
                                               ProgressTarget progress, CancelToken cancel);

    // Fetches an image and writes it to destination, creating its folder, replacing any file.
    QCoro::Task<> download(QString urlString, QString destination);

    // The frame job's input; aspect_ratio asks for a picture of the video's shape ("9:16"), and
    // the negative prompt goes as "negative_prompt" only when there is one.
    static QJsonObject frameInput(const QString &imagePrompt, const QString &stylePreset,
                                  const QStringList &referenceImageURLs, VideoShape shape = VideoShape::landscape,
                                  const QString &negativePrompt = {});
    // The first image URL in a result document, searched depth first.
    static std::optional<QString> findImageURL(const QJsonValue &value);
    static bool isImageURL(const QString &text);
    // A service URL moved onto the proxy: the proxy's scheme, host and port, the proxy's path
    // followed by the service path, the service query.
    static QUrl rebase(const QUrl &serviceURL, const QUrl &baseURL);

private:
    QUrl m_baseURL;
    QNetworkAccessManager *m_network;
    std::chrono::milliseconds m_pollInterval;
    // A stalled connection fails the request instead of holding the job forever.
    std::chrono::milliseconds m_timeout;
};

// A local image as "data:image/jpeg;base64,...": shrunk (never enlarged) so its longer side is
// at most maxDimension, JPEG at the given quality. Nothing for a missing or unreadable image.
std::optional<QString> imageDataURL(const QString &path, int maxDimension = 1024, double quality = 0.82);
// The paths that load, as data URLs at quality 0.82; the others are left out.
QStringList imageDataURLs(const QStringList &paths, int maxDimension = 1024);

// The HTTP session the application shares (one per thread, made on first use).
QNetworkAccessManager *sharedNetwork();

} // namespace quillvane
