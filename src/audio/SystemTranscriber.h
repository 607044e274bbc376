#pragma once

#include "store/Engines.h"

#include <memory>

namespace quillvane {

// The transcriber the application holds: picks an engine on every call, preferring the local
// whisper program and falling back to the speech engine when whisper fails. Reports which
// engine it uses through status lines.
class SystemTranscriber : public Transcriber {
public:
    SystemTranscriber(std::shared_ptr<Transcriber> local, std::shared_ptr<Transcriber> speech);

    QString name() const override;
    bool isAvailable() const override;
    QCoro::Task<TranscriptionResult> transcribe(QString audioPath, std::function<void(QString)> onProgress,
                                                CancelToken cancel) override;

private:
    // The engine the next call would use, or none.
    Transcriber *currentEngine() const;

    std::shared_ptr<Transcriber> m_local;
    std::shared_ptr<Transcriber> m_speech;
};

// The application's transcriber: local whisper with the "base" model, then the built-in
// speech engine.
std::shared_ptr<Transcriber> makeDefaultTranscriber();

} // namespace quillvane
