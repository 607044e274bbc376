#pragma once

#include <QObject>
#include <QSocketNotifier>

#include <functional>
#include <memory>

namespace quillvane::cli {

// Turns Ctrl+C into a cancel of the running operation while a command runs, so the
// operation stops at its next step, the project stays whole and the pending save is still
// written. A second Ctrl+C ends the program at once, as usual. Only one may exist at a time.
class InterruptCanceller : public QObject {
    Q_OBJECT

public:
    // onInterrupt runs on the UI thread after the first Ctrl+C.
    explicit InterruptCanceller(std::function<void()> onInterrupt, QObject *parent = nullptr);
    ~InterruptCanceller() override;

    bool interrupted() const { return m_interrupted; }

private:
    void handle();

    std::function<void()> m_onInterrupt;
    std::unique_ptr<QSocketNotifier> m_notifier;
    bool m_interrupted = false;
};

} // namespace quillvane::cli
