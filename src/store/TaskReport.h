#pragma once

#include <QString>

#include <functional>
#include <utility>

namespace quillvane {

// What an engine tells the person while it works: a short status line for the running-task
// strip, and the fraction done (0...1). Either may be empty; both are safe to call from any
// thread. Engines get one with their inputs and a cancel token, and never see the store.
struct TaskReport {
    std::function<void(QString)> status;
    std::function<void(double)> progress;

    void say(QString line) const
    {
        if (status)
            status(std::move(line));
    }
    void advance(double fraction) const
    {
        if (progress)
            progress(fraction);
    }
};

} // namespace quillvane
