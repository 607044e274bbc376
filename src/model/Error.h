#pragma once

#include <QString>

#include <exception>

namespace quillvane {

// Base of every failure a user can see. Each typed error (PipelineError, SaveError, and the
// engines' errors) carries its one fixed user-facing sentence; the store's Run wrapper shows
// that sentence as the error banner, so the text must read well on its own.
class Error : public std::exception {
public:
    explicit Error(QString description);

    const QString &description() const noexcept { return m_description; }
    const char *what() const noexcept override { return m_utf8.constData(); }

private:
    QString m_description;
    QByteArray m_utf8;
};

// Thrown by an operation that stopped because the user cancelled it. Run ends such an
// operation silently: no banner, no error text.
class Cancelled : public std::exception {
public:
    const char *what() const noexcept override { return "cancelled"; }
};

// The text a user sees for any exception that reaches Run: a typed error's own sentence,
// otherwise a generic sentence carrying what the exception says.
QString userFacingDescription(const std::exception &error);

} // namespace quillvane
