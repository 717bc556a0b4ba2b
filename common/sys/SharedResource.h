/// @file
/// Resources that are known by a name, in this process and among processes.
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
/// everything, without the hooks: whoever opens the name next finds what it left behind. A forked
/// child has open what its parent has.
///
/// Threads: the static functions are for any; while one thread opens or closes a name, it counts as
/// taken for another Open and as not open for everything else. The object must live until it is
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
    /// Closes what this process has open under @p name. While somebody still has it locked it
    /// counts as open, and OnDestroy does not run.
    /// @returns ok, an error when it has nothing open, or what a hook returned (it is closed then).
    /// Where the turn among processes could not be had, that error: it is closed, OnDestroy did not
    /// run.
    static gtl::status Close(const std::wstring& name);
    /// Whether any process has @p name open.
    static bool IsOpenAnywhere(const std::wstring& name);

    /// Holds a resource locked; the last copy unlocks it, on the thread that got it.
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
    /// Locks what this process has open under @p name.
    /// @param wait  whether to wait for others who have it locked
    /// @returns an empty handle when it is not open here, or somebody else has it
    static ExclusiveAccess GetExclusiveAccess(const std::wstring& name, bool wait);

    /// The name that it was opened under.
    const std::wstring& Name() const { return name_; }

protected:
    /// @name Hooks, in this order behind the destructor; success as they stand here
    /// @{
    virtual gtl::status OnCreate();  ///< the first one anywhere has opened the name
    virtual gtl::status OnOpen();    ///< others have it open already
    virtual gtl::status OnClose();   ///< this process closes it
    virtual gtl::status OnDestroy(); ///< and nobody else has it open
    /// @}

    /// @name The mutex of its name
    /// @{
    void Lock() { mutex_.Lock(); }              ///< waits for others who have it
    bool TryLock() { return mutex_.TryLock(); } ///< false when somebody else has it
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
