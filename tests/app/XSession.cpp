#include "XSession.h"

#include "support/Fixtures.h"

#include <QRegularExpression>
#include <QStandardPaths>
#include <QTemporaryDir>

#include <chrono>
#include <cstdlib>

namespace quillvane::test {

using namespace std::chrono_literals;

namespace {

QStringList words(const char *line)
{
    return QString::fromLatin1(line).split(QLatin1Char(' '));
}

} // namespace

XSession::XSession()
{
    if (QStandardPaths::findExecutable(QStringLiteral("Xvfb")).isEmpty())
        return;
    // The server picks a free display itself and writes its number once it accepts clients,
    // so a parallel test cannot take it in between. It never resets: by default it starts
    // afresh whenever its last client leaves and refuses the next client while it does.
    auto server = std::make_unique<QProcess>();
    server->setStandardErrorFile(QProcess::nullDevice());
    server->start(QStringLiteral("Xvfb"), words("-displayfd 1 -screen 0 1400x900x24 -nolisten tcp -noreset"));
    QByteArray written;
    while (!written.contains('\n') && server->waitForReadyRead(15000))
        written += server->readAllStandardOutput();
    bool isNumber = false;
    const int number = written.trimmed().toInt(&isNumber);
    m_display = QStringLiteral(":%1").arg(number);
    if (isNumber && server->state() == QProcess::Running && run(QStringLiteral("xwininfo"), words("-root"))) {
        m_server = std::move(server);
        return;
    }
    m_display.clear();
}

XSession::~XSession()
{
    for (QProcess *process : {m_app.get(), m_server.get()}) {
        if (process && process->state() != QProcess::NotRunning) {
            process->kill();
            process->waitForFinished();
        }
    }
}

bool XSession::run(const QString &program, const QStringList &arguments, QString *output) const
{
    QProcess process;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("DISPLAY"), m_display);
    process.setProcessEnvironment(environment);
    process.start(program, arguments);
    if (!process.waitForFinished(15000)) {
        process.kill();
        process.waitForFinished();
        return false;
    }
    if (output)
        *output = QString::fromUtf8(process.readAllStandardOutput());
    return process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0;
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
    QString found;
    const QStringList search = words("search --onlyvisible --name") << QStringLiteral("^%1$").arg(title);
    if (!m_app->waitForStarted(5000)
        || !processEventsUntil([&] { return !appAlive() || run(QStringLiteral("xdotool"), search, &found); }, 20s)
        || !appAlive())
        return false;
    m_window = found.split(QLatin1Char('\n'), Qt::SkipEmptyParts).value(0);
    QString geometry;
    run(QStringLiteral("xdotool"), {QStringLiteral("getwindowgeometry"), m_window}, &geometry);
    const auto match = QRegularExpression(QStringLiteral("Position: (\\d+),(\\d+).*Geometry: (\\d+)x(\\d+)"),
                                          QRegularExpression::DotMatchesEverythingOption)
                           .match(geometry);
    m_geometry = QRect(match.captured(1).toInt(), match.captured(2).toInt(), match.captured(3).toInt(),
                       match.captured(4).toInt());
    // With no window manager nothing gives the window the keyboard; it is given here.
    run(QStringLiteral("xdotool"), {QStringLiteral("windowfocus"), QStringLiteral("--sync"), m_window});
    // The first frames take a moment to reach the screen.
    processEventsFor(1500ms);
    return m_geometry.isValid();
}

void XSession::key(const QString &keys) const
{
    run(QStringLiteral("xdotool"), words("key --clearmodifiers") << keys);
}

// No --sync: xdotool waits for the pointer to move, and forever when it is already there.
void XSession::move(QPointF windowPoint) const
{
    const QPoint at = m_geometry.topLeft() + windowPoint.toPoint();
    run(QStringLiteral("xdotool"), {QStringLiteral("mousemove"), QString::number(at.x()), QString::number(at.y())});
}

void XSession::click(QPointF windowPoint) const
{
    move(windowPoint);
    run(QStringLiteral("xdotool"), words("click 1"));
}

QImage XSession::grab() const
{
    QTemporaryDir dir;
    const QString file = dir.filePath(QStringLiteral("grab.png"));
    run(QStringLiteral("ffmpeg"), words("-v error -y -f x11grab -draw_mouse 0 -video_size")
                                      << QStringLiteral("%1x%2").arg(m_geometry.width()).arg(m_geometry.height())
                                      << QStringLiteral("-i")
                                      << QStringLiteral("%1+%2,%3").arg(m_display).arg(m_geometry.x()).arg(m_geometry.y())
                                      << words("-frames:v 1") << file);
    return QImage(file).convertToFormat(QImage::Format_RGB32);
}

bool differs(const QImage &a, const QImage &b, QRect area)
{
    if (a.size() != b.size())
        return true;
    area = area.isEmpty() ? a.rect() : area.intersected(a.rect());
    // Two renderings of the same screen may differ in a few edge pixels of their letters; a
    // control, a screen or a dialog changes hundreds of pixels by far more.
    const auto apart = [](int p, int q) { return std::abs(p - q) > 48; };
    int changed = 0;
    for (int y = area.top(); y <= area.bottom(); ++y) {
        for (int x = area.left(); x <= area.right(); ++x) {
            const QRgb p = a.pixel(x, y), q = b.pixel(x, y);
            if ((apart(qRed(p), qRed(q)) || apart(qGreen(p), qGreen(q)) || apart(qBlue(p), qBlue(q))) && ++changed > 150)
                return true;
        }
    }
    return false;
}

} // namespace quillvane::test
