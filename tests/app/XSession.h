#pragma once

// A private X display (Xvfb) with one program on it, and the input and screen of that display
// as a person has them: keys, clicks and what the window shows.

#include <QImage>
#include <QPoint>
#include <QProcess>
#include <QProcessEnvironment>
#include <QRect>
#include <QString>
#include <QStringList>

#include <memory>

namespace quillvane::test {

class XSession {
public:
    // Starts Xvfb on a free display number; running() tells whether it came up.
    XSession();
    ~XSession();
    XSession(const XSession &) = delete;
    XSession &operator=(const XSession &) = delete;

    bool running() const { return !m_display.isEmpty(); }
    const QString &display() const { return m_display; }

    // Starts the program on the display with that environment and waits for its window
    // (titled `title`) to show; false when it did not within the limit.
    bool launch(const QString &program, const QStringList &arguments, QProcessEnvironment environment,
                const QString &title);
    bool appAlive() const { return m_app && m_app->state() == QProcess::Running; }
    // The program's standard error so far, for failure messages.
    QString appOutput() const;
    // Ends the program (SIGTERM, then SIGKILL) and returns whether it was still running.
    bool stopApp();

    // The window's top-left corner on the display.
    QPoint windowOrigin() const { return m_origin; }
    // xdotool key names, e.g. "ctrl+3", "Escape".
    void key(const QString &keys);
    // The pointer to a point of the window.
    void move(QPointF windowPoint);
    // A left click at a point of the window.
    void click(QPointF windowPoint);
    // What the window shows now.
    QImage grab() const;

private:
    bool xdotool(const QStringList &arguments, QString *output = nullptr) const;

    std::unique_ptr<QProcess> m_server;
    std::unique_ptr<QProcess> m_app;
    QString m_display;
    QString m_window;
    QPoint m_origin;
    QSize m_size;
};

// Whether the two pictures differ anywhere inside `area` (the whole picture when empty).
bool differs(const QImage &a, const QImage &b, QRect area = {});

} // namespace quillvane::test
