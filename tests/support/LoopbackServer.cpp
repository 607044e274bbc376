#include "support/LoopbackServer.h"

#include <QBuffer>
#include <QImage>

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wall"
#pragma GCC diagnostic ignored "-Wextra"
#pragma GCC diagnostic ignored "-Wpedantic"
#include <httplib.h>
#pragma GCC diagnostic pop

#include <algorithm>
#include <mutex>
#include <optional>
#include <stdexcept>
#include <thread>
#include <utility>

namespace quillvane::test {

namespace {

QString fromStd(const std::string &text) { return QString::fromUtf8(text.data(), qsizetype(text.size())); }

std::string toStd(const QByteArray &bytes) { return std::string(bytes.constData(), size_t(bytes.size())); }

// httplib adds the peer's and its own address to the headers; the client never sent them, so
// a test comparing headers must not see them.
bool addedByServer(const std::string &name)
{
    return name == "REMOTE_ADDR" || name == "REMOTE_PORT" || name == "LOCAL_ADDR" || name == "LOCAL_PORT";
}

// The query exactly as the client wrote it: the request target keeps it undecoded, where the
// parsed parameters would lose encoding and order.
QString rawQuery(const httplib::Request &req)
{
    const auto mark = req.target.find('?');
    return mark == std::string::npos ? QString() : fromStd(req.target.substr(mark + 1));
}

struct Script {
    QList<ScriptedReply> replies;
    qsizetype next = 0;
};

} // namespace

struct LoopbackServer::State {
    httplib::Server server;
    std::thread thread;
    int port = 0;

    // The test thread writes scripts and reads records while handler threads do the opposite.
    mutable std::mutex mutex;
    QMap<std::pair<QString, QString>, Script> scripts; // (method, path)
    QList<RecordedRequest> requests;

    void handle(const httplib::Request &req, httplib::Response &res);
};

void LoopbackServer::State::handle(const httplib::Request &req, httplib::Response &res)
{
    RecordedRequest record;
    record.method = fromStd(req.method);
    record.path = fromStd(req.path);
    record.query = rawQuery(req);
    for (const auto &[name, value] : req.headers) {
        if (addedByServer(name))
            continue;
        QString &entry = record.headers[fromStd(name).toLower()];
        entry = entry.isEmpty() ? fromStd(value) : entry + QStringLiteral(", ") + fromStd(value);
    }
    record.body = QByteArray(req.body.data(), qsizetype(req.body.size()));

    std::optional<ScriptedReply> reply;
    {
        const std::lock_guard lock(mutex);
        const auto script = scripts.find({record.method, record.path});
        if (script != scripts.end() && !script->replies.isEmpty()) {
            reply = script->replies.at(std::min(script->next, script->replies.size() - 1));
            ++script->next;
        }
        requests.append(std::move(record));
    }

    if (!reply) {
        res.status = 404;
        return;
    }
    // Sleeping here holds only this handler's pool thread; the client's event loop runs on.
    if (reply->delay.count() > 0)
        std::this_thread::sleep_for(reply->delay);
    res.status = reply->status;
    if (reply->breakMidBody) {
        const std::string sent = toStd(reply->body);
        res.set_content_provider(sent.size() * 2, toStd(reply->contentType),
                                 [sent](size_t offset, size_t, httplib::DataSink &sink) {
                                     if (offset == 0)
                                         sink.write(sent.data(), sent.size());
                                     return false; // the rest never comes: the connection drops
                                 });
        return;
    }
    res.set_content(toStd(reply->body), toStd(reply->contentType).c_str());
}

LoopbackServer::LoopbackServer()
    : m_state(std::make_unique<State>())
{
    State &state = *m_state;
    const auto handler = [&state](const httplib::Request &req, httplib::Response &res) { state.handle(req, res); };
    const std::string any = ".*";
    state.server.Get(any, handler);
    state.server.Post(any, handler);

    // Replies go out at once: without this, small replies wait for the peer's delayed ACK.
    state.server.set_tcp_nodelay(true);

    state.port = state.server.bind_to_any_port("127.0.0.1");
    if (state.port <= 0)
        throw std::runtime_error("LoopbackServer: no free port on 127.0.0.1");
    state.thread = std::thread([&state] { state.server.listen_after_bind(); });
    // The port is bound already, but a request must not race the accept loop's start.
    while (!state.server.is_running())
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
}

LoopbackServer::~LoopbackServer()
{
    m_state->server.stop();
    if (m_state->thread.joinable())
        m_state->thread.join();
}

QUrl LoopbackServer::baseURL() const
{
    return QUrl(QStringLiteral("http://127.0.0.1:%1").arg(m_state->port));
}

QUrl LoopbackServer::url(const QString &pathAndQuery) const
{
    const QString separator = pathAndQuery.startsWith(QLatin1Char('/')) ? QString() : QStringLiteral("/");
    return QUrl(baseURL().toString() + separator + pathAndQuery);
}

void LoopbackServer::script(const QString &method, const QString &path, const QList<ScriptedReply> &replies)
{
    const std::lock_guard lock(m_state->mutex);
    m_state->scripts.insert({method.toUpper(), path}, Script{replies, 0});
}

void LoopbackServer::serveFile(const QString &path, const QByteArray &bytes, const QByteArray &contentType)
{
    script(QStringLiteral("GET"), path, {ScriptedReply{.body = bytes, .contentType = contentType}});
}

QList<RecordedRequest> LoopbackServer::requests() const
{
    const std::lock_guard lock(m_state->mutex);
    return m_state->requests;
}

int LoopbackServer::count(const QString &method, const QString &path) const
{
    const std::lock_guard lock(m_state->mutex);
    return int(std::count_if(m_state->requests.cbegin(), m_state->requests.cend(), [&](const RecordedRequest &r) {
        return r.method == method.toUpper() && r.path == path;
    }));
}

ScriptedReply reply(const QByteArray &body, int status, std::chrono::milliseconds delay)
{
    return {.status = status, .body = body, .delay = delay};
}

QByteArray png(Qt::GlobalColor colour)
{
    QImage image(8, 8, QImage::Format_RGB32);
    image.fill(colour);
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, "PNG");
    return bytes;
}

} // namespace quillvane::test
