/// @file
/// The thread whose loop or job another thread helps with.
#pragma once

namespace sys::thread
{

/// The thread that constructed it.
struct Origin
{
    Origin();

    const void* record; ///< that thread's own
    unsigned currentId; ///< its affinity::CurrentId
};

/// Makes @p origin the parent of the calling thread, if that is another thread, until it goes.
class ParentScope
{
public:
    explicit ParentScope(const Origin& origin);
    ~ParentScope();
    ParentScope(const ParentScope&) = delete;
    ParentScope& operator=(const ParentScope&) = delete;

private:
    const bool isOther_;
    unsigned parentId_ = 0;
};

} // namespace sys::thread
