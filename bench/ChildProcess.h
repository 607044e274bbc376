#pragma once

// Runs a program as a child process and measures it from outside, the same way for our own
// code (this benchmark started again with other arguments) and for the ffmpeg program: wall
// time from fork to exit and the child's peak resident memory.

#include <QByteArray>
#include <QStringList>

#include <chrono>
#include <cstdio>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace quillvane::bench {

struct ChildRun {
    bool ok = false;
    double seconds = 0;
    long peakKilobytes = 0;
};

inline ChildRun runChild(const QStringList &arguments)
{
    std::vector<QByteArray> storage;
    for (const QString &argument : arguments)
        storage.push_back(argument.toLocal8Bit());
    std::vector<char *> argv;
    for (QByteArray &argument : storage)
        argv.push_back(argument.data());
    argv.push_back(nullptr);

    const auto start = std::chrono::steady_clock::now();
    const pid_t child = fork();
    if (child == 0) {
        execvp(argv[0], argv.data());
        _exit(127);
    }
    int status = 0;
    rusage usage{};
    wait4(child, &status, 0, &usage);
    ChildRun run;
    run.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    run.ok = WIFEXITED(status) && WEXITSTATUS(status) == 0;
    run.peakKilobytes = usage.ru_maxrss;
    return run;
}

inline double median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

} // namespace quillvane::bench
