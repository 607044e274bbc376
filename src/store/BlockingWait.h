#pragma once

#include <QCoro/QCoroTask>
#include <QEventLoop>

#include <exception>
#include <optional>
#include <type_traits>

namespace quillvane {

// Runs a nested event loop until the task ends and returns its result, rethrowing its
// exception. For the CLI and tests, which drive store operations from plain functions.
// (QCoro::waitFor loses an exception thrown by the task and then never returns.)
//
// Throughout the project, a task is held in a named variable before it is awaited: g++ 12
// destroys the temporaries of a call inside a co_await expression twice.
template <typename T>
T blockingWait(QCoro::Task<T> task)
{
    QEventLoop loop;
    bool finished = false;
    std::exception_ptr failure;
    std::conditional_t<std::is_void_v<T>, bool, std::optional<T>> result{};

    auto driver = [&]() -> QCoro::Task<> {
        try {
            if constexpr (std::is_void_v<T>)
                co_await task;
            else
                result = co_await task;
        } catch (...) {
            failure = std::current_exception();
        }
        finished = true;
        loop.quit();
    };
    auto running = driver();
    if (!finished)
        loop.exec();
    if (failure)
        std::rethrow_exception(failure);
    if constexpr (!std::is_void_v<T>)
        return std::move(*result);
}

} // namespace quillvane
