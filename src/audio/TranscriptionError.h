#pragma once

#include "model/Error.h"

namespace quillvane {

// Why a transcription could not be made. `failed` carries what went wrong.
class TranscriptionError : public Error {
public:
    enum class Case { failed, noEngineAvailable, notAuthorized };

    static TranscriptionError failed(const QString &message);
    static TranscriptionError noEngineAvailable();
    static TranscriptionError notAuthorized();

    Case kind() const { return m_kind; }
    bool operator==(const TranscriptionError &other) const
    {
        return m_kind == other.m_kind && description() == other.description();
    }

private:
    TranscriptionError(Case kind, const QString &description);
    Case m_kind;
};

} // namespace quillvane
