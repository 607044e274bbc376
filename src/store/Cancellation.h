#pragma once

#include <atomic>
#include <memory>

namespace quillvane {

// A shared flag that tells a running operation the user wants it stopped. Run hands one to
// every operation; copies share the flag, so an engine working on another thread sees a
// cancel made on the UI thread. Operations check it between steps and end by throwing
// Cancelled, which Run swallows.
class CancelToken {
public:
    CancelToken();

    bool isCancelled() const
    {
        return m_flag->load(std::memory_order_acquire) || (m_parent && m_parent->load(std::memory_order_acquire));
    }
    void cancel() const { m_flag->store(true, std::memory_order_release); }
    // A token for a part of the operation: cancelled with this one, or on its own without
    // stopping the rest.
    CancelToken child() const;
    // Throws Cancelled when the flag is set.
    void throwIfCancelled() const;

    bool operator==(const CancelToken &other) const { return m_flag == other.m_flag; }

private:
    std::shared_ptr<std::atomic_bool> m_flag;
    std::shared_ptr<std::atomic_bool> m_parent;
};

} // namespace quillvane
