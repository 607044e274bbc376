#include "generation/FalClient.h"

#include "model/PipelineConfig.h"

#include <QCoro/QCoroFuture>
#include <QCoro/QCoroNetworkReply>
#include <QCoro/QCoroTimer>
#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QImage>
#include <QJsonArray>
#include <QJsonDocument>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QSaveFile>
#include <QStringDecoder>
#include <QTextBoundaryFinder>
#include <QtConcurrent/QtConcurrentRun>
#include <QThread>
#include <QUrlQuery>

#include <cmath>
#include <memory>

namespace quillvane {

FalError::FalError(Case kind, const QString &description, int status, QString payload)
    : Error(description)
    , m_kind(kind)
    , m_status(status)
    , m_payload(std::move(payload))
{
}

FalError FalError::badURL(const QString &url)
{
    return {Case::badURL, QStringLiteral("Invalid URL: ") + url, 0, url};
}

FalError FalError::http(int status, const QString &body)
{
    return {Case::http, QStringLiteral("Generation error %1: ").arg(status) + body, status, body};
}

FalError FalError::jobFailed(const QString &status)
{
    return {Case::jobFailed, QStringLiteral("Generation failed (") + status + QStringLiteral(")."), 0, status};
}

FalError FalError::unauthorized()
{
    return {Case::unauthorized, QStringLiteral("The generation service rejected the request.")};
}

FalError FalError::malformedResponse()
{
    return {Case::malformedResponse, QStringLiteral("Unexpected response from the generation service.")};
}

FalError FalError::noImageInResponse()
{
    return {Case::noImageInResponse, QStringLiteral("No image was returned.")};
}

FalError FalError::timedOut()
{
    return {Case::timedOut, QStringLiteral("The generation job timed out.")};
}

namespace {

// The job states the client understands: waiting and running mean poll again, and any other
// state but completion means the job failed.
const QString completedStatus = QStringLiteral("COMPLETED");
const QString inQueueStatus = QStringLiteral("IN_QUEUE");
const QString inProgressStatus = QStringLiteral("IN_PROGRESS");

// At the store's 1.5-second interval this gives up on a job after about ten minutes.
constexpr int maximumPolls = 400;
// An error page can be a whole HTML document; the banner only needs its start.
constexpr int errorBodyCharacters = 500;

// Replies are released through the event loop: a reply deleted inside one of its own signals
// would crash, and a coroutine may resume from exactly there.
struct DeleteLater {
    void operator()(QNetworkReply *reply) const { reply->deleteLater(); }
};
using ReplyPtr = std::unique_ptr<QNetworkReply, DeleteLater>;

QNetworkRequest serviceRequest(const QUrl &url, std::chrono::milliseconds timeout)
{
    QNetworkRequest request(url);
    request.setTransferTimeout(int(timeout.count()));
    return request;
}

// A service URL as text parses only when it is a whole, well-formed URL.
std::optional<QUrl> parsedURL(const QString &text)
{
    const QUrl url(text, QUrl::StrictMode);
    if (text.isEmpty() || !url.isValid())
        return std::nullopt;
    return url;
}

// The first `count` characters as a reader sees them, so an emoji or an accent is never cut
// in half.
QString leadingCharacters(const QString &text, int count)
{
    QTextBoundaryFinder boundaries(QTextBoundaryFinder::Grapheme, text);
    qsizetype end = 0;
    for (int taken = 0; taken < count; ++taken) {
        const qsizetype next = boundaries.toNextBoundary();
        if (next < 0)
            return text;
        end = next;
    }
    return text.left(end);
}

// The body of an error reply as text; bytes that are not UTF-8 tell the user nothing.
QString errorBodyText(const QByteArray &body)
{
    QStringDecoder decoder(QStringDecoder::Utf8);
    const QString text = decoder(body);
    if (decoder.hasError())
        return {};
    return leadingCharacters(text, errorBodyCharacters);
}

// Waits for the reply and returns its body once the HTTP status says success. Qt reports an
// HTTP error status as a reply error too, so the status decides first; only a reply without
// one (refused connection, timeout) or a transfer that broke after the headers is a
// transport failure, described in the platform's own words.
QCoro::Task<QByteArray> checkedBody(ReplyPtr reply)
{
    co_await reply.get();
    const QVariant statusAttribute = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute);
    if (!statusAttribute.isValid()) {
        // Nothing here aborts a reply, so a cancelled one is the transfer timeout, which Qt
        // words only as "Operation canceled".
        if (reply->error() == QNetworkReply::OperationCanceledError)
            throw Error(QStringLiteral("The generation service did not answer in time. Check your connection and try again."));
        if (reply->error() != QNetworkReply::NoError)
            throw Error(reply->errorString());
        co_return reply->readAll();
    }
    const int status = statusAttribute.toInt();
    if (status == 401 || status == 403)
        throw FalError::unauthorized();
    if (status < 200 || status > 299)
        throw FalError::http(status, errorBodyText(reply->readAll()));
    if (reply->error() != QNetworkReply::NoError)
        throw Error(reply->errorString());
    co_return reply->readAll();
}

QCoro::Task<QByteArray> getBody(QNetworkAccessManager *network, QUrl url, std::chrono::milliseconds timeout)
{
    ReplyPtr reply(network->get(serviceRequest(url, timeout)));
    auto body = checkedBody(std::move(reply));
    co_return co_await body;
}

// Status and result documents that cannot be read count as empty: polling goes on, and a
// result without content simply holds no image.
QJsonObject objectOrEmpty(const QByteArray &body)
{
    return QJsonDocument::fromJson(body).object();
}

std::optional<QString> stringValue(const QJsonObject &object, const QString &key)
{
    const QJsonValue value = object.value(key);
    if (!value.isString())
        return std::nullopt;
    return value.toString();
}

// The service's log lines, only when every entry is an object as the service writes them.
QStringList logMessages(const QJsonValue &logs)
{
    if (!logs.isArray())
        return {};
    QStringList messages;
    for (const QJsonValue &entry : logs.toArray()) {
        if (!entry.isObject())
            return {};
        const QJsonValue message = entry.toObject().value(QStringLiteral("message"));
        if (message.isString())
            messages.append(message.toString());
    }
    return messages;
}

std::optional<qint64> integerValue(const QJsonValue &value)
{
    if (!value.isDouble())
        return std::nullopt;
    const double number = value.toDouble();
    if (!std::isfinite(number) || std::trunc(number) != number)
        return std::nullopt;
    return static_cast<qint64>(number);
}

FalProgress progressOf(const QJsonObject &status)
{
    FalProgress progress;
    progress.status = stringValue(status, QStringLiteral("status")).value_or(inProgressStatus);
    progress.queuePosition = integerValue(status.value(QStringLiteral("queue_position")));
    progress.logs = logMessages(status.value(QStringLiteral("logs")));
    return progress;
}

// Hands the progress to the requester's thread without waiting for it to be shown; a
// requester gone by the time it arrives gets nothing.
void postProgress(const ProgressTarget &target, const FalProgress &progress)
{
    if (!target.requester || !target.onProgress)
        return;
    QPointer<QObject> requester = target.requester;
    QMetaObject::invokeMethod(
        target.requester.data(),
        [requester, onProgress = target.onProgress, progress] {
            if (requester)
                onProgress(progress);
        },
        Qt::QueuedConnection);
}

// The status URL with the job's logs asked for, keeping whatever query it already has.
QUrl pollURL(const QUrl &statusURL)
{
    if (!statusURL.isValid())
        return statusURL;
    QUrl url = statusURL;
    QUrlQuery query(url);
    query.addQueryItem(QStringLiteral("logs"), QStringLiteral("1"));
    url.setQuery(query);
    return url;
}

// Written beside the destination and renamed over it, so a failed write never leaves half an
// image where a finished one was.
void writeDownloadedFile(const QString &destination, const QByteArray &bytes)
{
    const QString folder = QFileInfo(destination).absolutePath();
    if (!QDir().mkpath(folder))
        throw Error(QStringLiteral("Could not create the folder %1.").arg(folder));
    QSaveFile file(destination);
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size() || !file.commit())
        throw Error(QStringLiteral("Could not save the image to %1 (%2).").arg(destination, file.errorString()));
}

} // namespace

FalClient::FalClient(QUrl baseURL, QNetworkAccessManager *network, std::chrono::milliseconds pollInterval,
                     std::chrono::milliseconds timeout)
    : m_baseURL(std::move(baseURL))
    , m_network(network)
    , m_pollInterval(pollInterval)
    , m_timeout(timeout)
{
}

QCoro::Task<SubmitResponse> FalClient::submit(QString path, QJsonObject input)
{
    const std::optional<QUrl> url
        = parsedURL(m_baseURL.toString(QUrl::FullyEncoded) + QLatin1Char('/') + path);
    if (!url)
        throw FalError::badURL(path);

    QNetworkRequest request = serviceRequest(*url, m_timeout);
    request.setHeader(QNetworkRequest::ContentTypeHeader, QStringLiteral("application/json"));
    ReplyPtr reply(m_network->post(request, QJsonDocument(input).toJson(QJsonDocument::Compact)));
    auto pending = checkedBody(std::move(reply));
    const QByteArray body = co_await pending;

    QJsonParseError parseError;
    const QJsonDocument document = QJsonDocument::fromJson(body, &parseError);
    if (parseError.error != QJsonParseError::NoError)
        throw Error(QStringLiteral("The generation service sent a reply that is not JSON (%1).")
                        .arg(parseError.errorString()));
    const QJsonObject fields = document.object();

    const std::optional<QString> requestID = stringValue(fields, QStringLiteral("request_id"));
    const std::optional<QString> statusText = stringValue(fields, QStringLiteral("status_url"));
    const std::optional<QString> responseText = stringValue(fields, QStringLiteral("response_url"));
    if (!requestID || !statusText || !responseText)
        throw FalError::malformedResponse();
    const std::optional<QUrl> statusURL = parsedURL(*statusText);
    const std::optional<QUrl> responseURL = parsedURL(*responseText);
    if (!statusURL || !responseURL)
        throw FalError::malformedResponse();
    co_return SubmitResponse{*requestID, rebase(*statusURL, m_baseURL), rebase(*responseURL, m_baseURL)};
}

QCoro::Task<> FalClient::awaitCompletion(SubmitResponse submission, ProgressTarget progress, CancelToken cancel)
{
    const QUrl url = pollURL(submission.statusURL);
    int attempts = 0;
    for (;;) {
        cancel.throwIfCancelled();
        auto pending = getBody(m_network, url, m_timeout);
        const FalProgress current = progressOf(objectOrEmpty(co_await pending));
        postProgress(progress, current);

        if (current.status == completedStatus)
            co_return;
        if (current.status != inQueueStatus && current.status != inProgressStatus)
            throw FalError::jobFailed(current.status);
        if (++attempts >= maximumPolls)
            throw FalError::timedOut();
        co_await QCoro::sleepFor(m_pollInterval);
    }
}

QCoro::Task<QJsonObject> FalClient::fetchResult(QUrl responseURL)
{
    auto pending = getBody(m_network, responseURL, m_timeout);
    co_return objectOrEmpty(co_await pending);
}

QCoro::Task<FalClient::RenderedElement> FalClient::renderElement(QString path, QJsonValue shotPlan,
                                                                 QString elementID, ProgressTarget progress,
                                                                 CancelToken cancel)
{
    const QJsonObject input{{QStringLiteral("shot_plan"), shotPlan}, {QStringLiteral("element_id"), elementID}};
    auto submitted = submit(path, input);
    const SubmitResponse submission = co_await submitted;
    auto completion = awaitCompletion(submission, progress, cancel);
    co_await completion;
    auto fetched = fetchResult(submission.responseURL);
    const QJsonObject result = co_await fetched;

    const std::optional<QString> imageURL = findImageURL(result);
    if (!imageURL)
        throw FalError::noImageInResponse();
    co_return RenderedElement{*imageURL,
                              stringValue(result, QStringLiteral("element_id")).value_or(elementID)};
}

QCoro::Task<> FalClient::download(QString urlString, QString destination)
{
    const std::optional<QUrl> url = parsedURL(urlString);
    if (!url)
        throw FalError::badURL(urlString);
    auto pending = getBody(m_network, *url, m_timeout);
    const QByteArray bytes = co_await pending;
    // A frame the motion stage could not open later is refused now, before it replaces
    // anything: a cut-off transfer or an error page served as the image.
    QFuture<bool> decoding = QtConcurrent::run([bytes] { return !QImage::fromData(bytes).isNull(); });
    const bool readable = co_await decoding;
    if (!readable)
        throw Error(QStringLiteral("The generation service sent a file that is not a readable image. "
                                   "Try again; if it keeps happening, check the service's status."));
    writeDownloadedFile(destination, bytes);
}

QJsonObject FalClient::frameInput(const QString &imagePrompt, const QString &stylePreset,
                                  const QStringList &referenceImageURLs, VideoShape shape,
                                  const QString &negativePrompt)
{
    QJsonObject input{{QStringLiteral("image_prompt"), imagePrompt},
                      {QStringLiteral("style_preset"), stylePreset},
                      {QStringLiteral("reference_image_urls"), QJsonArray::fromStringList(referenceImageURLs)},
                      {QStringLiteral("aspect_ratio"), textValue(shape)}};
    if (!negativePrompt.isEmpty())
        input.insert(QStringLiteral("negative_prompt"), negativePrompt);
    return input;
}

std::optional<QString> FalClient::findImageURL(const QJsonValue &value)
{
    if (value.isObject()) {
        const QJsonObject object = value.toObject();
        // Where the service's workflows put their images, most specific first.
        const QJsonValue images = object.value(QStringLiteral("images"));
        if (images.isArray()) {
            if (auto found = findImageURL(images))
                return found;
        }
        if (object.contains(QStringLiteral("image"))) {
            if (auto found = findImageURL(object.value(QStringLiteral("image"))))
                return found;
        }
        const QJsonValue url = object.value(QStringLiteral("url"));
        if (url.isString() && isImageURL(url.toString()))
            return url.toString();
        for (const QJsonValue &member : object) {
            if (auto found = findImageURL(member))
                return found;
        }
        return std::nullopt;
    }
    if (value.isArray()) {
        for (const QJsonValue &element : value.toArray()) {
            if (auto found = findImageURL(element))
                return found;
        }
        return std::nullopt;
    }
    if (value.isString() && isImageURL(value.toString()))
        return value.toString();
    return std::nullopt;
}

bool FalClient::isImageURL(const QString &text)
{
    if (!text.startsWith(QStringLiteral("http")))
        return false;
    const QString lower = text.toLower();
    // The service's own media and direct-run hosts serve images without a file extension.
    static const QStringList markers = {QString::fromUtf8(deployment::mediaHost),
                                        QString::fromUtf8(deployment::directRunHost),
                                        QStringLiteral(".png"),
                                        QStringLiteral(".jpg"),
                                        QStringLiteral(".jpeg"),
                                        QStringLiteral(".webp")};
    for (const QString &marker : markers) {
        if (lower.contains(marker))
            return true;
    }
    return false;
}

QUrl FalClient::rebase(const QUrl &serviceURL, const QUrl &baseURL)
{
    if (!serviceURL.isValid() || !baseURL.isValid())
        return serviceURL;
    QUrl rebased;
    rebased.setScheme(baseURL.scheme());
    rebased.setHost(baseURL.host());
    rebased.setPort(baseURL.port());
    // Both paths stay percent-encoded as they came, so the proxy receives the service path
    // byte for byte behind its own prefix.
    rebased.setPath(baseURL.path(QUrl::FullyEncoded) + serviceURL.path(QUrl::FullyEncoded), QUrl::TolerantMode);
    if (serviceURL.hasQuery())
        rebased.setQuery(serviceURL.query(QUrl::FullyEncoded), QUrl::TolerantMode);
    if (!rebased.isValid())
        return serviceURL;
    return rebased;
}

QNetworkAccessManager *sharedNetwork()
{
    // A manager serves only the thread it lives on, so each thread gets its own. On the UI
    // thread the application owns it, so it goes away before Qt does.
    thread_local QPointer<QNetworkAccessManager> network;
    if (!network) {
        QCoreApplication *application = QCoreApplication::instance();
        const bool onApplicationThread = application && application->thread() == QThread::currentThread();
        network = new QNetworkAccessManager(onApplicationThread ? application : nullptr);
    }
    return network;
}

} // namespace quillvane
