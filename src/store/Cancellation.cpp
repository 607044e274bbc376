#include "store/Cancellation.h"

#include "model/Error.h"

namespace quillvane {

CancelToken::CancelToken()
    : m_flag(std::make_shared<std::atomic_bool>(false))
{
}

CancelToken CancelToken::child() const
{
    CancelToken part;
    part.m_parent = m_flag;
    return part;
}

void CancelToken::throwIfCancelled() const
{
    if (isCancelled())
        throw Cancelled();
}

} // namespace quillvane
