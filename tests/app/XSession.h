#pragma once

// A private X display (Xvfb) with one program on it, and the input and screen of that display
// as a person has them: keys, clicks and what the window shows.

#include <QImage>
#include <QProcess>
#include <QRect>

#include <memory>

namespace quillvane::test {

class XSession {
public:
    // Starts Xvfb on a free display number; running() tells whether it came up.
    XSession();
    ~XSession();

    bool running() const { return !m_display.isEmpty(); }
    // Starts the program on the display with that environment and waits for its window
    // (titled `title`) to show; false when it did not within the limit.
    bool launch(const QString &program, const QStringList &arguments, QProcessEnvironment environment,
                const QString &title);
    bool appAlive() const { return m_app && m_app->state() == QProcess::Running; }
    // The program's standard error so far, for failure messages.
    QString appOutput() const { return m_app ? QString::fromUtf8(m_app->readAllStandardError()) : QString(); }

    // xdotool key names, e.g. "ctrl+3", "Escape".
    void key(const QString &keys) const;
    // The pointer to a point of the window, and a left click there.
    void move(QPointF windowPoint) const;
    void click(QPointF windowPoint) const;
    // What the window shows now.
    QImage grab() const;

private:
    bool run(const QString &program, const QStringList &arguments, QString *output = nullptr) const;

    std::unique_ptr<QProcess> m_server;
    std::unique_ptr<QProcess> m_app;
    QString m_display;
    QString m_window;
    QRect m_geometry;
};

// Whether the two pictures differ anywhere inside `area` (the whole picture when empty).
bool differs(const QImage &a, const QImage &b, QRect area = {});

} // namespace quillvane::test
