#pragma once

#include <QCoro/QCoroFuture>
#include <QCoro/QCoroTask>
#include <QtConcurrent/QtConcurrentRun>

#include <exception>
#include <functional>

namespace quillvane {

// Runs blocking work (an encoder, a muxer) on a pool thread and resumes the awaiting
// coroutine on its own thread. A QFuture only carries QException subclasses across threads,
// so the work's exception travels as an exception_ptr and is thrown again here.
inline QCoro::Task<> onWorkerThread(std::function<void()> work)
{
    // A named future: g++ 12 destroys the temporaries of a co_await expression twice.
    QFuture<std::exception_ptr> running = QtConcurrent::run([work = std::move(work)]() -> std::exception_ptr {
        try {
            work();
            return nullptr;
        } catch (...) {
            return std::current_exception();
        }
    });
    const std::exception_ptr failure = co_await running;
    if (failure)
        std::rethrow_exception(failure);
}

} // namespace quillvane
