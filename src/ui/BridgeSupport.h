#pragma once

// What every bridge between the store and QML shares: how a shown value is kept and
// announced, how an operation is left running, and how QML's ids and file URLs become the
// store's.

#include "store/ProjectStore.h"

#include <QCoro/QCoroTask>
#include <QUrl>
#include <QUuid>

namespace quillvane::ui {

// Keeps the bridge's copy of one shown value and announces it only when it changed: a bridge
// works every value out again when the store changes, and only the bindings on values that
// moved are evaluated again.
template <typename Owner, typename T, typename U>
void follow(Owner *owner, T &held, U &&next, void (Owner::*changed)())
{
    if (held == next)
        return;
    held = std::forward<U>(next);
    Q_EMIT(owner->*changed)();
}

// Keeps the operation alive until it ends: it reports through the store (task strip, banner),
// and nothing waits for its outcome.
template <typename T>
void launch(QObject *owner, QCoro::Task<T> operation)
{
    QCoro::connect(std::move(operation), owner, [](const auto &...) {});
}

// The run, then the next stage when it was done.
template <typename T>
QCoro::Task<> thenSelect(ProjectStore &store, QCoro::Task<T> run, PipelineStage next)
{
    QCoro::Task<T> running = std::move(run);
    const auto outcome = co_await running;
    if (outcome.isDone())
        store.session().setSelectedStage(next);
}

inline QUuid idFrom(const QString &text)
{
    return QUuid::fromString(text);
}

// A chooser's file URL as a path; anything else as written.
inline QString pathFrom(const QUrl &file)
{
    return file.isLocalFile() ? file.toLocalFile() : file.toString();
}

// A file URL written by QML as a path; anything else as written.
inline QString pathFrom(const QString &text)
{
    const QUrl url(text);
    return url.isLocalFile() ? url.toLocalFile() : text;
}

} // namespace quillvane::ui
