#pragma once

#include <QString>

#include <optional>
#include <utility>
#include <variant>

namespace quillvane {

// What a store operation came to: done (with its value), failed (with the sentence the
// banner shows), or cancelled by the user. Callers read this instead of lastError, which is
// only what the banner shows and may already have been dismissed or replaced.
template <typename T = std::monostate>
class Outcome {
public:
    static Outcome done(T value = T()) { return Outcome(Kind::done, std::move(value), {}); }
    static Outcome failed(QString sentence) { return Outcome(Kind::failed, std::nullopt, std::move(sentence)); }
    static Outcome cancelled() { return Outcome(Kind::cancelled, std::nullopt, {}); }
    // The failure or cancellation of another operation, carried on by one that needed it.
    template <typename U>
    static Outcome stoppedBy(const Outcome<U> &other)
    {
        return other.isCancelled() ? cancelled() : failed(other.failure());
    }

    bool isDone() const { return m_kind == Kind::done; }
    bool isFailed() const { return m_kind == Kind::failed; }
    bool isCancelled() const { return m_kind == Kind::cancelled; }
    // The value of a done outcome; only read it after isDone().
    const T &value() const { return *m_value; }
    // The sentence of a failed outcome; empty otherwise.
    const QString &failure() const { return m_failure; }

    bool operator==(const Outcome &) const = default;

private:
    enum class Kind { done, failed, cancelled };

    Outcome(Kind kind, std::optional<T> value, QString failure)
        : m_kind(kind)
        , m_value(std::move(value))
        , m_failure(std::move(failure))
    {
    }

    Kind m_kind;
    std::optional<T> m_value;
    QString m_failure;
};

using Done = Outcome<>;

} // namespace quillvane
