#include "XSession.h"

#include "support/Fixtures.h"

#include <QRegularExpression>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QThread>

#include <chrono>
#include <cstdlib>

namespace quillvane::test {

using namespace std::chrono_literals;

namespace {

bool run(const QString &program, const QStringList &arguments, const QString &display, QString *output = nullptr,
         int timeoutMs = 15000)
{
    QProcess process;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("DISPLAY"), display);
    process.setProcessEnvironment(environment);
    process.start(program, arguments);
    if (!process.waitForFinished(timeoutMs)) {
        process.kill();
        process.waitForFinished();
        return false;
    }
    if (output)
        *output = QString::fromUtf8(process.readAllStandardOutput());
    return process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0;
}

} // namespace

XSession::XSession()
{
    if (QStandardPaths::findExecutable(QStringLiteral("Xvfb")).isEmpty())
        return;
    // The server picks a free display itself and writes its number once it accepts clients:
    // a number chosen here could be taken by a parallel test between the check and the start,
    // and a probe of that number would then find the other test's server. It never resets:
    // by default the server starts afresh whenever its last client leaves (the probe below,
    // or an app closed between two launches) and refuses the next client while it does.
    auto server = std::make_unique<QProcess>();
    server->setProcessChannelMode(QProcess::SeparateChannels);
    server->setStandardErrorFile(QProcess::nullDevice());
    server->start(QStringLiteral("Xvfb"), {QStringLiteral("-displayfd"), QStringLiteral("1"), QStringLiteral("-screen"),
                                           QStringLiteral("0"), QStringLiteral("1400x900x24"), QStringLiteral("-nolisten"),
                                           QStringLiteral("tcp"), QStringLiteral("-noreset")});
    if (!server->waitForStarted(5000))
        return;
    QByteArray written;
    const bool numbered = processEventsUntil(
        [&] {
            server->waitForReadyRead(50);
            written += server->readAllStandardOutput();
            return written.contains('\n') || server->state() != QProcess::Running;
        },
        15s);
    bool isNumber = false;
    const int number = written.trimmed().toInt(&isNumber);
    const QString display = QStringLiteral(":%1").arg(number);
    if (numbered && isNumber && server->state() == QProcess::Running
        && run(QStringLiteral("xwininfo"), {QStringLiteral("-root")}, display)) {
        m_server = std::move(server);
        m_display = display;
        return;
    }
    server->kill();
    server->waitForFinished();
}

XSession::~XSession()
{
    stopApp();
    if (m_server) {
        m_server->terminate();
        if (!m_server->waitForFinished(3000)) {
            m_server->kill();
            m_server->waitForFinished();
        }
    }
}

bool XSession::xdotool(const QStringList &arguments, QString *output) const
{
    return run(QStringLiteral("xdotool"), arguments, m_display, output);
}

bool XSession::launch(const QString &program, const QStringList &arguments, QProcessEnvironment environment,
                      const QString &title)
{
    environment.insert(QStringLiteral("DISPLAY"), m_display);
    environment.remove(QStringLiteral("QT_QPA_PLATFORM"));
    environment.remove(QStringLiteral("WAYLAND_DISPLAY"));
    m_app = std::make_unique<QProcess>();
    m_app->setProcessEnvironment(environment);
    m_app->start(program, arguments);
    if (!m_app->waitForStarted(5000))
        return false;
    QString found;
    const bool shown = processEventsUntil(
        [&] {
            return !appAlive()
                || xdotool({QStringLiteral("search"), QStringLiteral("--onlyvisible"), QStringLiteral("--name"),
                            QStringLiteral("^%1$").arg(title)},
                           &found);
        },
        20s);
    if (!shown || !appAlive())
        return false;
    m_window = found.split(QLatin1Char('\n'), Qt::SkipEmptyParts).value(0);
    QString geometry;
    xdotool({QStringLiteral("getwindowgeometry"), m_window}, &geometry);
    const auto position = QRegularExpression(QStringLiteral("Position: (\\d+),(\\d+)")).match(geometry);
    const auto size = QRegularExpression(QStringLiteral("Geometry: (\\d+)x(\\d+)")).match(geometry);
    m_origin = QPoint(position.captured(1).toInt(), position.captured(2).toInt());
    m_size = QSize(size.captured(1).toInt(), size.captured(2).toInt());
    // With no window manager nothing gives the window the keyboard; it is given here.
    xdotool({QStringLiteral("windowfocus"), QStringLiteral("--sync"), m_window});
    // The first frames take a moment to reach the screen.
    processEventsFor(1500ms);
    return m_size.isValid();
}

QString XSession::appOutput() const
{
    return m_app ? QString::fromUtf8(m_app->readAllStandardError()) : QString();
}

bool XSession::stopApp()
{
    if (!m_app)
        return false;
    const bool alive = appAlive();
    if (alive) {
        m_app->terminate();
        if (!m_app->waitForFinished(5000)) {
            m_app->kill();
            m_app->waitForFinished();
        }
    }
    m_app.reset();
    return alive;
}

void XSession::key(const QString &keys)
{
    xdotool({QStringLiteral("key"), QStringLiteral("--clearmodifiers"), keys});
}

// No --sync: xdotool waits for the pointer to move, and forever when it is already there.
void XSession::move(QPointF windowPoint)
{
    const QPoint at = m_origin + windowPoint.toPoint();
    xdotool({QStringLiteral("mousemove"), QString::number(at.x()), QString::number(at.y())});
}

void XSession::click(QPointF windowPoint)
{
    move(windowPoint);
    xdotool({QStringLiteral("click"), QStringLiteral("1")});
}

QImage XSession::grab() const
{
    QTemporaryDir dir;
    const QString file = dir.filePath(QStringLiteral("grab.png"));
    run(QStringLiteral("ffmpeg"),
        {QStringLiteral("-v"), QStringLiteral("error"), QStringLiteral("-f"), QStringLiteral("x11grab"),
         QStringLiteral("-draw_mouse"), QStringLiteral("0"),
         QStringLiteral("-video_size"), QStringLiteral("%1x%2").arg(m_size.width()).arg(m_size.height()),
         QStringLiteral("-i"), QStringLiteral("%1+%2,%3").arg(m_display).arg(m_origin.x()).arg(m_origin.y()),
         QStringLiteral("-frames:v"), QStringLiteral("1"), QStringLiteral("-y"), file},
        m_display);
    return QImage(file).convertToFormat(QImage::Format_RGB32);
}

bool differs(const QImage &a, const QImage &b, QRect area)
{
    if (a.size() != b.size())
        return true;
    if (area.isEmpty())
        area = a.rect();
    area = area.intersected(a.rect());
    // Two renderings of the same screen may differ in a few edge pixels of their letters; a
    // control, a screen or a dialog changes hundreds of pixels by far more.
    constexpr int channelStep = 48;
    constexpr int pixelsThatCount = 150;
    int changed = 0;
    for (int y = area.top(); y <= area.bottom(); ++y) {
        const auto *rowA = reinterpret_cast<const QRgb *>(a.constScanLine(y));
        const auto *rowB = reinterpret_cast<const QRgb *>(b.constScanLine(y));
        for (int x = area.left(); x <= area.right(); ++x) {
            const QRgb p = rowA[x];
            const QRgb q = rowB[x];
            if (std::abs(qRed(p) - qRed(q)) > channelStep || std::abs(qGreen(p) - qGreen(q)) > channelStep
                || std::abs(qBlue(p) - qBlue(q)) > channelStep) {
                if (++changed > pixelsThatCount)
                    return true;
            }
        }
    }
    return false;
}

} // namespace quillvane::test
