#pragma once

// A scriptable HTTP server on 127.0.0.1 for tests: the generation client is always tested
// over a real connection. It answers on threads of its own, so a slow reply never blocks the
// event loop of the client under test. Each route replies from a script; every request is
// recorded so a test can check method, path, query, headers and body.

#include <QByteArray>
#include <Qt>
#include <QList>
#include <QMap>
#include <QString>
#include <QUrl>

#include <chrono>
#include <memory>

namespace quillvane::test {

struct RecordedRequest {
    QString method;
    QString path;                   // without the query
    QString query;                  // as sent, without "?"
    QMap<QString, QString> headers; // names lower-cased
    QByteArray body;
};

struct ScriptedReply {
    int status = 200;
    QByteArray body;
    QByteArray contentType = "application/json";
    std::chrono::milliseconds delay{0};
    // Announces twice the body's length, sends the body and drops the connection.
    bool breakMidBody = false;
};

// A reply with this body (JSON unless the content type is changed), status and delay.
ScriptedReply reply(const QByteArray &body, int status = 200, std::chrono::milliseconds delay = {});

// A small solid-colour PNG, as the service serves generated images.
QByteArray png(Qt::GlobalColor colour);

class LoopbackServer {
public:
    LoopbackServer();  // listening on a free port when the constructor returns
    ~LoopbackServer(); // stops and waits for its threads

    // http://127.0.0.1:<port>
    QUrl baseURL() const;
    // A URL on this server for the given path (and query, if any).
    QUrl url(const QString &pathAndQuery) const;

    // Requests for METHOD path take the script's replies in turn; the last one repeats. A
    // route without a script answers 404.
    void script(const QString &method, const QString &path, const QList<ScriptedReply> &replies);
    // GET path answers with these bytes.
    void serveFile(const QString &path, const QByteArray &bytes, const QByteArray &contentType);

    QList<RecordedRequest> requests() const;
    int count(const QString &method, const QString &path) const;

private:
    struct State;
    std::unique_ptr<State> m_state;
};

} // namespace quillvane::test
