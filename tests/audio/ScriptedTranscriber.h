#pragma once

// An engine whose answers a test writes: for checking what the engine selection and the
// store operations do with results, failures and availability. The real engines are
// tested on their own, over real processes and files.

#include "store/Engines.h"

#include <QCoro/QCoroTimer>
#include <QFileInfo>

#include <functional>

namespace quillvane::test {

class ScriptedTranscriber : public Transcriber {
public:
    explicit ScriptedTranscriber(QString engineName = QStringLiteral("Scripted"))
        : engineName(std::move(engineName))
    {
    }

    QString name() const override { return engineName; }
    bool isAvailable() const override { return availability ? availability() : available; }

    QCoro::Task<TranscriptionResult> transcribe(QString audioPath, std::function<void(QString)> onProgress,
                                                CancelToken) override
    {
        calls.append(audioPath);
        filesExisted.append(QFileInfo::exists(audioPath));
        if (onProgress && !statusLine.isEmpty())
            onProgress(statusLine);
        co_await QCoro::sleepFor(std::chrono::milliseconds(1)); // answer later, as a real engine does
        if (!respond)
            co_return TranscriptionResult{};
        co_return respond(audioPath);
    }

    QString engineName;
    bool available = true;
    QString statusLine;                                         // sent before answering when set
    std::function<bool()> availability;                         // overrides `available` when set
    std::function<TranscriptionResult(const QString &)> respond; // may throw
    QStringList calls;
    QList<bool> filesExisted;
};

// An aligner whose answers a test writes, as ScriptedTranscriber is a transcriber.
class ScriptedAligner : public LyricsAligner {
public:
    QString name() const override { return QStringLiteral("Scripted Aligner"); }
    bool isAvailable() const override { return available; }

    QCoro::Task<QList<QList<AlignedWord>>> align(QString, QStringList lines, std::function<void(QString)> onProgress,
                                                 CancelToken) override
    {
        calls.append(lines);
        if (onProgress)
            onProgress(QStringLiteral("Aligning lyrics 50%"));
        co_await QCoro::sleepFor(std::chrono::milliseconds(1));
        co_return respond ? respond(lines) : QList<QList<AlignedWord>>{};
    }

    bool available = true;
    std::function<QList<QList<AlignedWord>>(const QStringList &)> respond; // may throw
    QList<QStringList> calls;
};

} // namespace quillvane::test
