#pragma once

#include <QCoro/QCoroFuture>
#include <QCoro/QCoroTask>
#include <QtConcurrent/QtConcurrentRun>

#include <concepts>
#include <exception>
#include <optional>
#include <type_traits>
#include <utility>

namespace quillvane {

// Runs blocking work (decoding, recognition, an encoder, a muxer) on a pool thread and resumes
// the awaiting coroutine on its own thread with the work's result. A QFuture only carries
// QException subclasses across threads, so the work's exception travels as an exception_ptr
// and is thrown again here, as itself.
//
// The futures are named locals: g++ 12 destroys the temporaries of a co_await expression
// twice, which would drop what the work captured twice. Callers name the returned task for
// the same reason.
template <std::invocable Work>
    requires std::is_void_v<std::invoke_result_t<Work &>>
QCoro::Task<> onWorkerThread(Work work)
{
    QFuture<std::exception_ptr> running = QtConcurrent::run([work = std::move(work)]() mutable -> std::exception_ptr {
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

template <std::invocable Work, typename Result = std::invoke_result_t<Work &>>
    requires(!std::is_void_v<Result>)
QCoro::Task<Result> onWorkerThread(Work work)
{
    struct Outcome {
        std::optional<Result> value;
        std::exception_ptr failure;
    };
    QFuture<Outcome> running = QtConcurrent::run([work = std::move(work)]() mutable -> Outcome {
        try {
            return {work(), nullptr};
        } catch (...) {
            return {std::nullopt, std::current_exception()};
        }
    });
    Outcome outcome = co_await running;
    if (outcome.failure)
        std::rethrow_exception(outcome.failure);
    co_return std::move(*outcome.value);
}

} // namespace quillvane
