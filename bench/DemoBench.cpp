// Wall time of the demo from a fresh HOME, split by stage: quillvane-cli demo runs as a
// child process exactly as a user would start it, and each stage is timed from the moment its
// label first appears on standard error to the moment the next one does.
// Run: build/bench/demo_bench [runs]   (default 3; the median run is reported)

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QProcess>
#include <QTemporaryDir>

#include <algorithm>
#include <cstdio>
#include <vector>

namespace {

struct Stage {
    QString label;
    double seconds = 0;
};

struct Run {
    std::vector<Stage> stages;
    double total = 0;
    bool ok = false;
};

// The stage a progress line belongs to: operations show their own label and then their
// engines' status lines ("Transcribing with …", "Generating frame 3"), which count towards it.
const struct {
    const char *prefix;
    const char *stage;
} stagesByPrefix[] = {
    {"Preparing the demo", "demo song and character"},
    {"Reading audio", "import"},
    {"Verifying lyrics", "import"},
    {"Importing", "import"},
    {"Aligning timing", "timing"},
    {"Transcribing", "timing"},
    {"Planning", "plan"},
    {"Rendering element", "elements"},
    {"Generating frame", "frames"},
    {"Rendering motion", "motion"},
    {"Exporting video", "export"},
};

QString labelOf(const QString &line)
{
    const QString trimmed = line.trimmed();
    for (const auto &known : stagesByPrefix) {
        if (trimmed.startsWith(QLatin1String(known.prefix)))
            return QString::fromLatin1(known.stage);
    }
    return trimmed;
}

Run runDemo()
{
    QTemporaryDir home;
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert(QStringLiteral("HOME"), home.path());
    env.insert(QStringLiteral("XDG_DATA_HOME"), home.filePath(QStringLiteral("data")));
    env.insert(QStringLiteral("XDG_CONFIG_HOME"), home.filePath(QStringLiteral("config")));
    QProcess demo;
    demo.setProcessEnvironment(env);
    QElapsedTimer clock;
    clock.start();
    demo.start(QStringLiteral(QUILLVANE_CLI_PATH), {QStringLiteral("demo"), QStringLiteral("--to"), home.filePath(QStringLiteral("out"))});

    Run run;
    QByteArray pending;
    const auto readLines = [&] {
        pending += demo.readAllStandardError();
        qsizetype end = 0;
        while ((end = pending.indexOf('\n')) >= 0) {
            const QString label = labelOf(QString::fromUtf8(pending.left(end)));
            pending.remove(0, end + 1);
            if (label.isEmpty() || label.startsWith(QLatin1String("error")))
                continue;
            const double at = double(clock.nsecsElapsed()) / 1e9;
            if (run.stages.empty() || run.stages.back().label != label) {
                if (!run.stages.empty())
                    run.stages.back().seconds = at - run.stages.back().seconds;
                run.stages.push_back({label, at}); // holds the start until the stage ends
            }
        }
    };
    while (demo.state() != QProcess::NotRunning) {
        demo.waitForReadyRead(100);
        readLines();
    }
    demo.waitForFinished();
    readLines();
    run.total = double(clock.nsecsElapsed()) / 1e9;
    if (!run.stages.empty())
        run.stages.back().seconds = run.total - run.stages.back().seconds;
    run.ok = demo.exitStatus() == QProcess::NormalExit && demo.exitCode() == 0;
    return run;
}

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    const int runs = argc > 1 ? std::max(1, std::atoi(argv[1])) : 3;
    std::vector<Run> done;
    for (int i = 0; i < runs; ++i) {
        done.push_back(runDemo());
        if (!done.back().ok) {
            std::printf("run %d: the demo failed\n", i + 1);
            return 1;
        }
        std::printf("run %d: %.1f s\n", i + 1, done.back().total);
    }
    std::sort(done.begin(), done.end(), [](const Run &a, const Run &b) { return a.total < b.total; });
    const Run &median = done[done.size() / 2];
    std::printf("\nmedian run, by stage:\n");
    double motionAndExport = 0;
    for (const Stage &stage : median.stages) {
        std::printf("  %-24s %6.2f s  %5.1f%%\n", qPrintable(stage.label), stage.seconds,
                    100 * stage.seconds / median.total);
        if (stage.label == QLatin1String("motion") || stage.label == QLatin1String("export"))
            motionAndExport += stage.seconds;
    }
    std::printf("  %-24s %6.2f s\n", "total", median.total);
    std::printf("motion and export: %.2f s, %.1f%% of the demo\n", motionAndExport, 100 * motionAndExport / median.total);
    return 0;
}
