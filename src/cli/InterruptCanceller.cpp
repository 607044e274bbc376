#include "cli/InterruptCanceller.h"

#include <csignal>
#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

namespace quillvane::cli {

namespace {

// The signal handler may only write to a descriptor; the UI thread reads the other end.
int signalPipe[2] = {-1, -1};
struct sigaction previousAction {};

void onSignal(int)
{
    const char byte = 1;
    [[maybe_unused]] const auto written = ::write(signalPipe[1], &byte, 1);
}

} // namespace

InterruptCanceller::InterruptCanceller(std::function<void()> onInterrupt, QObject *parent)
    : QObject(parent)
    , m_onInterrupt(std::move(onInterrupt))
{
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0, signalPipe) != 0)
        return; // without the pair, Ctrl+C keeps its usual effect
    m_notifier = std::make_unique<QSocketNotifier>(signalPipe[0], QSocketNotifier::Read);
    connect(m_notifier.get(), &QSocketNotifier::activated, this, &InterruptCanceller::handle);

    struct sigaction action {};
    action.sa_handler = onSignal;
    sigemptyset(&action.sa_mask);
    action.sa_flags = SA_RESTART;
    ::sigaction(SIGINT, &action, &previousAction);
}

InterruptCanceller::~InterruptCanceller()
{
    if (!m_notifier)
        return;
    ::sigaction(SIGINT, &previousAction, nullptr);
    m_notifier.reset();
    ::close(signalPipe[0]);
    ::close(signalPipe[1]);
    signalPipe[0] = signalPipe[1] = -1;
}

void InterruptCanceller::handle()
{
    char byte;
    while (::read(signalPipe[0], &byte, 1) > 0) {
    }
    if (m_interrupted) {
        // Asked twice: stop now, the usual way.
        ::sigaction(SIGINT, &previousAction, nullptr);
        ::raise(SIGINT);
        return;
    }
    m_interrupted = true;
    m_onInterrupt();
}

} // namespace quillvane::cli
