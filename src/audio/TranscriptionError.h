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

namespace quillvane {

// Why known lyrics could not be found in their track; the timing run then lays the lines out
// by proportion.
class AlignmentError : public Error {
public:
    static AlignmentError notFound();
    static AlignmentError failed(const QString &message);

    bool operator==(const AlignmentError &other) const { return description() == other.description(); }

private:
    explicit AlignmentError(const QString &description);
};

} // namespace quillvane
