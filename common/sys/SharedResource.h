/// @file
/// Named resources, within this process and among processes.
#pragma once

#include "foundation/gtl_status.h"
#include "foundation/kvi_export.h"
#include "sys/sys_thread_ExclusiveAccess.h"

#include <memory>
#include <string>

namespace sys::thread
{

/// Something that several processes have open under one name, and lock through a mutex of that
/// name.
///
/// A process has a name open once. The first one anywhere to open it runs OnCreate, every other one
/// OnOpen; closing runs OnClose, and OnDestroy where nobody else has it open any more. Among
/// processes these four run one after the other; when one fails at opening, the name is not open.
/// An exception out of a hook is an error like one that it returns. A process that dies closes
/// everything, without the hooks: the next process to open the name finds the state it left. A
/// forked child has the same resources open as its parent.
///
/// Threads: the static functions are for any; while one thread opens or closes a name, it counts as
/// in use for another Open and as not open for everything else. The object must live until it is
/// closed.
class KVI_API SharedResource
{
public:
    SharedResource();
    virtual ~SharedResource();
    SharedResource(const SharedResource&) = delete;
    SharedResource& operator=(const SharedResource&) = delete;

    /// Opens @p resource under @p name.
    /// @param flags  kept for the resource's own use
    /// @returns ok; or an error of "sys::thread::SharedResourceManager::Open": no resource, a name
    /// that this process has open, a mutex that could not be made or locked; or what the hook
    /// returned
    static gtl::status Open(const std::wstring& name, SharedResource* resource,
                            unsigned long flags);
    /// Closes the resource that this process has open under @p name. While it is still locked
    /// anywhere it counts as open, and OnDestroy does not run.
    /// @returns ok, an error when it has nothing open, or what a hook returned (it is closed then).
    /// If the opening lock could not be obtained, that error: it is closed, OnDestroy did not run.
    static gtl::status Close(const std::wstring& name);
    /// Whether any process has @p name open.
    static bool IsOpenAnywhere(const std::wstring& name);

    /// Holds a resource locked; the last copy unlocks it, on the thread that locked it.
    class ExclusiveAccess
    {
    public:
        ExclusiveAccess() = default;
        /// Whether the resource is locked.
        explicit operator bool() const { return hold_ != nullptr; }

    private:
        friend class SharedResource;
        struct Hold;
        std::shared_ptr<Hold> hold_;
    };
    /// Locks the resource that this process has open under @p name.
    /// @param wait  whether to wait while others have it locked
    /// @returns an empty handle when it is not open here, or another owner has it locked
    static ExclusiveAccess GetExclusiveAccess(const std::wstring& name, bool wait);

    /// The name that it was opened under.
    const std::wstring& Name() const { return name_; }

protected:
    /// @name Hooks, in this order after the destructor; the defaults return success
    /// @{
    virtual gtl::status OnCreate();  ///< the first one anywhere has opened the name
    virtual gtl::status OnOpen();    ///< others have it open already
    virtual gtl::status OnClose();   ///< this process closes it
    virtual gtl::status OnDestroy(); ///< and nobody else has it open
    /// @}

    /// @name The mutex of its name
    /// @{
    void Lock() { mutex_.Lock(); }              ///< waits for others who have it
    bool TryLock() { return mutex_.TryLock(); } ///< false when another owner has it
    void Unlock() { mutex_.Unlock(); }          ///< undoes one of these
    /// @}
    unsigned long Flags() const { return flags_; } ///< as given to Open

private:
    friend class SharedResourceManager;

    std::wstring name_;
    unsigned long flags_ = 0;
    impl::SystemExclusiveAccess mutex_;
};

} // namespace sys::thread
