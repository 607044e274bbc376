#include "studio/OfflineStudio.h"

#include "model/Error.h"
#include "model/Records.h"
#include "studio/StudioPainter.h"
#include "studio/StudioPlanner.h"

#include <QBuffer>
#include <QDir>
#include <QFile>
#include <QImage>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QFileInfo>
#include <QMap>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QUuid>

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wall"
#pragma GCC diagnostic ignored "-Wextra"
#pragma GCC diagnostic ignored "-Wpedantic"
#include <httplib.h>
#pragma GCC diagnostic pop

#include <chrono>
#include <mutex>
#include <thread>

namespace quillvane::studio {

namespace {

std::string toStd(const QByteArray &bytes)
{
    return std::string(bytes.constData(), size_t(bytes.size()));
}

QByteArray compact(const QJsonObject &object)
{
    return QJsonDocument(object).toJson(QJsonDocument::Compact);
}

// Where the service would put its queue: the client moves these onto the studio's base URL.
const QString serviceHost = QStringLiteral("https://queue.studio.invalid/");

struct Job {
    QString workflow;
    QJsonObject input;
    int polls = 0;
    std::optional<QJsonObject> result;
    QString failure;
};

std::optional<QImage> imageFromDataURL(const QString &url)
{
    const qsizetype comma = url.indexOf(QLatin1Char(','));
    if (!url.startsWith(QStringLiteral("data:image/")) || comma < 0)
        return std::nullopt;
    QImage image;
    if (!image.loadFromData(QByteArray::fromBase64(url.mid(comma + 1).toLatin1())))
        return std::nullopt;
    return image;
}

} // namespace

struct OfflineStudio::State {
    httplib::Server server;
    std::thread thread;
    int port = 0;
    QTemporaryDir folder{QDir::tempPath() + QStringLiteral("/quillvane-studio-XXXXXX")};
    // In every file URL, so a URL cannot be guessed by another user of this computer.
    const QString token = QUuid::createUuid().toString(QUuid::Id128);
    std::function<QStringList()> projectFolders;
    std::mutex mutex;
    QMap<QString, Job> jobs;
    QMap<QString, FrameSpec> frames; // file name -> what it shows, for edits

    QString imageURL(const QString &name) const
    {
        return QStringLiteral("http://127.0.0.1:%1/files/%2/%3").arg(port).arg(token, name);
    }

    // The file of that name in the studio's folder or the open project's, or nothing. Only a
    // plain file name is looked up, never a path.
    std::optional<QString> find(const QString &name) const
    {
        static const QRegularExpression plain(QStringLiteral("^[A-Za-z0-9_{}-][A-Za-z0-9_.{}-]*\\.(png|jpg|jpeg|webp)$"));
        if (!plain.match(name).hasMatch() || name.contains(QLatin1String("..")))
            return std::nullopt;
        QStringList folders{folder.path()};
        if (projectFolders)
            folders << projectFolders();
        for (const QString &candidate : folders) {
            const QFileInfo file(QDir(candidate).filePath(name));
            if (file.isFile())
                return file.filePath();
        }
        return std::nullopt;
    }

    // An edit's source: a data URL as sent, else the file named by the URL's last segment.
    std::optional<QImage> editSource(const QString &url) const
    {
        if (const auto image = imageFromDataURL(url))
            return image;
        const auto path = find(QUrl(url).fileName());
        QImage image;
        if (!path || !image.load(*path))
            return std::nullopt;
        return image;
    }

    QString save(const QImage &image, const QString &stem)
    {
        const QString name = stem + QLatin1Char('-') + QUuid::createUuid().toString(QUuid::Id128).left(12) + QStringLiteral(".png");
        image.save(folder.filePath(name), "PNG");
        return name;
    }

    QJsonObject images(const QString &name) const
    {
        return {{QStringLiteral("images"), QJsonArray{QJsonObject{{QStringLiteral("url"), imageURL(name)}}}}};
    }

    // Runs a job's workflow, chosen by what its input carries.
    void run(Job &job)
    {
        const QJsonObject &input = job.input;
        if (input.contains(QStringLiteral("transcript"))) {
            job.result = planResult(input);
        } else if (input.contains(QStringLiteral("element_id"))) {
            const QString id = input.value(QStringLiteral("element_id")).toString();
            // The client sends the plan as its JSON text.
            const QJsonValue shotPlan = input.value(QStringLiteral("shot_plan"));
            const QString plan = shotPlan.isString() ? shotPlan.toString()
                                                     : QString::fromUtf8(QJsonDocument(shotPlan.toObject()).toJson());
            job.result = images(save(paintElement(id, plan), QStringLiteral("element")));
        } else if (input.contains(QStringLiteral("image_prompt"))) {
            FrameSpec scene = frameSpecFromPrompt(input.value(QStringLiteral("image_prompt")).toString());
            // Painted in the video's shape at 1080 on its short side; no shape asked is wide.
            const auto shape = videoShapeFromText(input.value(QStringLiteral("aspect_ratio")).toString());
            scene.size = frameSize(shape.value_or(VideoShape::landscape), ExportResolution::p1080);
            std::optional<QImage> character;
            for (const QJsonValue reference : input.value(QStringLiteral("reference_image_urls")).toArray()) {
                if ((character = imageFromDataURL(reference.toString())))
                    break;
            }
            const QString name = save(paintFrame(scene, character), QStringLiteral("frame"));
            frames.insert(name, scene);
            job.result = images(name);
        } else if (input.contains(QStringLiteral("frame_to_edit"))) {
            const QString url = input.value(QStringLiteral("frame_to_edit")).toArray().first().toString();
            const std::optional<QImage> image = editSource(url);
            if (!image) {
                job.failure = QStringLiteral("FAILED");
                return;
            }
            const QString source = QUrl(url).fileName();
            const std::optional<FrameSpec> scene = frames.contains(source) ? std::optional(frames.value(source)) : std::nullopt;
            const QImage edited = editFrame(*image, scene, input.value(QStringLiteral("users_edit_request")).toString());
            const QString name = save(edited, QStringLiteral("edit"));
            if (scene)
                frames.insert(name, *scene);
            job.result = images(name);
        } else {
            job.failure = QStringLiteral("FAILED");
        }
    }

    void routes()
    {
        server.Post(R"(/api/fal/(.+))", [this](const httplib::Request &req, httplib::Response &res) {
            const QJsonDocument body = QJsonDocument::fromJson(QByteArray::fromStdString(req.body));
            if (!body.isObject()) {
                res.status = 400;
                res.set_content("The request body must be a JSON object.", "text/plain");
                return;
            }
            const QString workflow = QString::fromStdString(req.matches[1]);
            const QString id = QUuid::createUuid().toString(QUuid::WithoutBraces);
            {
                const std::lock_guard lock(mutex);
                jobs.insert(id, {workflow, body.object(), 0, std::nullopt, {}});
            }
            const QString queue = serviceHost + workflow + QStringLiteral("/requests/") + id;
            res.set_content(toStd(compact({{QStringLiteral("request_id"), id},
                                           {QStringLiteral("status_url"), queue + QStringLiteral("/status")},
                                           {QStringLiteral("response_url"), queue}})),
                            "application/json");
        });
        server.Get(R"(/api/fal/(.+)/requests/([^/]+)/status)", [this](const httplib::Request &req, httplib::Response &res) {
            const std::lock_guard lock(mutex);
            const QString id = QString::fromStdString(req.matches[2]);
            if (!jobs.contains(id)) {
                res.status = 404;
                res.set_content("No such request.", "text/plain");
                return;
            }
            Job &job = jobs[id];
            QJsonObject status;
            if (job.polls == 0) {
                status = {{QStringLiteral("status"), QStringLiteral("IN_QUEUE")}, {QStringLiteral("queue_position"), 0}};
            } else if (job.polls == 1) {
                status = {{QStringLiteral("status"), QStringLiteral("IN_PROGRESS")},
                          {QStringLiteral("logs"), QJsonArray{QJsonObject{
                                                       {QStringLiteral("message"), QStringLiteral("Offline studio: painting by rules")}}}}};
            } else {
                if (!job.result && job.failure.isEmpty())
                    run(job);
                status = {{QStringLiteral("status"), job.failure.isEmpty() ? QStringLiteral("COMPLETED") : job.failure}};
            }
            ++job.polls;
            res.set_content(toStd(compact(status)), "application/json");
        });
        server.Get(R"(/api/fal/(.+)/requests/([^/]+))", [this](const httplib::Request &req, httplib::Response &res) {
            const std::lock_guard lock(mutex);
            const QString id = QString::fromStdString(req.matches[2]);
            if (!jobs.contains(id) || !jobs[id].result) {
                res.status = 404;
                res.set_content("No result for this request.", "text/plain");
                return;
            }
            res.set_content(toStd(compact(*jobs[id].result)), "application/json");
        });
        server.Get(R"(/files/([^/]*)/([^/]+))", [this](const httplib::Request &req, httplib::Response &res) {
            res.status = 404;
            if (QString::fromStdString(req.matches[1]) != token)
                return;
            const auto path = find(QString::fromStdString(req.matches[2]));
            QFile file(path.value_or(QString()));
            if (!path || !file.open(QIODevice::ReadOnly))
                return;
            res.status = 200;
            res.set_content(toStd(file.readAll()), "image/png");
        });
    }
};

OfflineStudio::OfflineStudio(std::function<QStringList()> projectFolders)
    : m_state(std::make_unique<State>())
{
    m_state->projectFolders = std::move(projectFolders);
    // Registers the lettering face on this thread before any job paints.
    paintElement(QStringLiteral("warm-up"), QString());
    m_state->routes();
    m_state->port = m_state->server.bind_to_any_port("127.0.0.1");
    if (m_state->port <= 0 || !m_state->folder.isValid())
        throw Error(QStringLiteral("The offline studio could not start on this computer."));
    // The socket listens from bind on, so a client connecting before the loop runs just waits.
    m_state->thread = std::thread([state = m_state.get()] { state->server.listen_after_bind(); });
    // stop() only reaches a loop that runs, so the studio is ready only once it does.
    for (int wait = 0; wait < 5000 && !m_state->server.is_running(); ++wait)
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
}

OfflineStudio::~OfflineStudio()
{
    m_state->server.stop();
    if (m_state->thread.joinable())
        m_state->thread.join();
}

QUrl OfflineStudio::baseURL() const
{
    return QUrl(QStringLiteral("http://127.0.0.1:%1/api/fal").arg(m_state->port));
}

QString OfflineStudio::folder() const
{
    return m_state->folder.path();
}

} // namespace quillvane::studio
