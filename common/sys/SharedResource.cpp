#include "sys/SharedResource.h"

#include "foundation/KviError.h"
#include "foundation/gtl_status_exception.h"
#include "platform/platform_fork.h"
#include "platform/platform_unload.h"

#include <cxxabi.h>
#include <exception>
#include <map>
#include <mutex>
#include <optional>
#include <utility>

namespace sys::thread
{
namespace
{

/// The mutex that serialises opening and closing @p name.
std::wstring OpeningLockName(const std::wstring& name) { return name + L" (opening)"; }

/// Holds that mutex.
class OpeningLock
{
public:
    explicit OpeningLock(const std::wstring& name) : state_(mutex_.Create(OpeningLockName(name)))
    {
        if (!state_.ok())
            return;
        mutex_.Lock();
        if (mutex_.Depth() == 0)
            state_ = KviError::err_sysserv(L"WaitForSingleObject");
    }
    ~OpeningLock()
    {
        if (mutex_.Depth() > 0)
            mutex_.Unlock();
    }
    OpeningLock(const OpeningLock&) = delete;
    OpeningLock& operator=(const OpeningLock&) = delete;
    /// Ok while the mutex is held; otherwise why not.
    const gtl::status& State() const { return state_; }

private:
    impl::SystemExclusiveAccess mutex_;
    gtl::status state_;
};

bool ExistsAnywhere(const std::wstring& name)
{
    impl::SystemExclusiveAccess mutex;
    return mutex.Open(name).ok();
}

gtl::status OpenError(std::wstring_view reason)
{
    return KviError::err_sysserv(L"sys::thread::SharedResourceManager::Open", reason);
}

} // namespace

/// The resources that this process has open, by name.
class SharedResourceManager
{
public:
    static SharedResourceManager& Instance()
    {
        static SharedResourceManager& manager = platform::UntilUnload<SharedResourceManager>();
        platform::AddForkHandler(forkHandler);
        return manager;
    }

    gtl::status Open(const std::wstring& name, SharedResource* resource, unsigned long flags)
    {
        if (resource == nullptr)
            return OpenError(L"There is no resource.");
        {
            const std::lock_guard guard(lock_);
            if (!entries_.try_emplace(name, Entry{resource, false, {}}).second)
                return OpenError(L"This process has a resource of that name open.");
        }
        // From here on the entry is this thread's until it is open, or erased. Hooks run without
        // the manager's lock: they may take their time, and open others.
        Erasure erasure(*this, *resource, name);
        resource->name_ = name;
        resource->flags_ = flags;
        gtl::status opened = OpenAmongProcesses(*resource);
        if (opened.ok())
            erasure.KeepOpen();
        return opened;
    }

    gtl::status Close(const std::wstring& name)
    {
        SharedResource* resource = nullptr;
        {
            const std::lock_guard guard(lock_);
            const auto found = entries_.find(name);
            if (found == entries_.end() || !found->second.open)
                return gtl::status(
                    L"Attempt to close resource %s, when that resource does not exist.", name);
            resource = found->second.resource;
            found->second = {resource, false, {}}; // this thread's until it is erased
        }
        const Erasure erasure(*this, *resource, name);
        const OpeningLock turn(name);
        gtl::status closed = Run(*resource, &SharedResource::OnClose);
        (void)resource->mutex_.Close(); // cannot fail
        // Without the opening lock another process may be opening it.
        gtl::status last = turn.State();
        if (last.ok() && !ExistsAnywhere(name))
            last = Run(*resource, &SharedResource::OnDestroy);
        return closed.ok() ? last : closed;
    }

    std::optional<impl::SystemExclusiveAccess> MutexOf(const std::wstring& name)
    {
        const std::lock_guard guard(lock_);
        const auto found = entries_.find(name);
        if (found == entries_.end() || !found->second.open)
            return std::nullopt;
        return found->second.mutex;
    }

private:
    /// A name is open, or a thread is opening or closing it.
    struct Entry
    {
        SharedResource* resource;
        bool open;
        impl::SystemExclusiveAccess mutex;
    };

    /// Closes a resource's mutex and erases its entry in the end, also when memory runs out.
    class Erasure
    {
    public:
        Erasure(SharedResourceManager& manager, SharedResource& resource, const std::wstring& name)
            : manager_(manager), resource_(resource), name_(name)
        {
        }
        ~Erasure()
        {
            if (!isWanted_)
                return;
            (void)resource_.mutex_.Close(); // cannot fail
            const std::lock_guard guard(manager_.lock_);
            manager_.entries_.erase(name_);
        }
        Erasure(const Erasure&) = delete;
        Erasure& operator=(const Erasure&) = delete;
        /// Marks the entry as open instead.
        void KeepOpen()
        {
            const std::lock_guard guard(manager_.lock_);
            manager_.entries_[name_] = {&resource_, true, resource_.mutex_};
            isWanted_ = false;
        }

    private:
        SharedResourceManager& manager_;
        SharedResource& resource_;
        const std::wstring& name_;
        bool isWanted_ = true;
    };

    using Hook = gtl::status (SharedResource::*)();

    // A thread that ends unwinds without an exception object, which the sanitizer takes for null.
    __attribute__((no_sanitize("null"))) static gtl::status Run(SharedResource& resource, Hook hook)
    try
    {
        return (resource.*hook)();
    }
    catch (const abi::__forced_unwind&)
    {
        throw;
    }
    catch (const gtl::status_exception& exception)
    {
        return exception.status();
    }
    catch (const std::exception& exception)
    {
        return KviError::unexpected_exception(std::string_view(exception.what()));
    }
    catch (...)
    {
        return KviError::unexpected_exception(std::string_view());
    }

    static gtl::status OpenAmongProcesses(SharedResource& resource)
    {
        const OpeningLock turn(resource.name_);
        if (!turn.State().ok())
            return OpenError(turn.State().as_wstring());
        const bool first = !ExistsAnywhere(resource.name_);
        if (const gtl::status made = resource.mutex_.Create(resource.name_); !made.ok())
            return OpenError(made.as_wstring());
        return Run(resource, first ? &SharedResource::OnCreate : &SharedResource::OnOpen);
    }

    /// What other threads of the parent were opening or closing is not open in a forked child.
    static void ForgetParent()
    {
        SharedResourceManager& manager = Instance();
        std::erase_if(manager.entries_, [](const auto& entry) { return !entry.second.open; });
        manager.lock_.unlock();
    }

    static constinit platform::ForkHandler forkHandler;
    std::mutex lock_;
    std::map<std::wstring, Entry> entries_;
};

constinit platform::ForkHandler SharedResourceManager::forkHandler{
    platform::ForkRank::service, [] { Instance().lock_.lock(); }, [] { Instance().lock_.unlock(); },
    &SharedResourceManager::ForgetParent};

SharedResource::SharedResource() = default;
SharedResource::~SharedResource() = default;
gtl::status SharedResource::OnCreate() { return {}; }
gtl::status SharedResource::OnOpen() { return {}; }
gtl::status SharedResource::OnClose() { return {}; }
gtl::status SharedResource::OnDestroy() { return {}; }

gtl::status SharedResource::Open(const std::wstring& name, SharedResource* resource,
                                 unsigned long flags)
{
    return SharedResourceManager::Instance().Open(name, resource, flags);
}

gtl::status SharedResource::Close(const std::wstring& name)
{
    return SharedResourceManager::Instance().Close(name);
}

bool SharedResource::IsOpenAnywhere(const std::wstring& name) { return ExistsAnywhere(name); }

struct SharedResource::ExclusiveAccess::Hold
{
    explicit Hold(const impl::SystemExclusiveAccess& m) : mutex(m) {}
    ~Hold()
    {
        if (mutex.Depth() > 0)
            mutex.Unlock();
    }
    Hold(const Hold&) = delete;
    Hold& operator=(const Hold&) = delete;

    impl::SystemExclusiveAccess mutex; // a copy: the resource may be closed meanwhile
};

SharedResource::ExclusiveAccess SharedResource::GetExclusiveAccess(const std::wstring& name,
                                                                   bool wait)
{
    ExclusiveAccess access;
    const auto mutex = SharedResourceManager::Instance().MutexOf(name);
    if (!mutex)
        return access;
    auto hold = std::make_shared<ExclusiveAccess::Hold>(*mutex);
    if (wait)
        hold->mutex.Lock();
    else if (!hold->mutex.TryLock())
        return access;
    if (hold->mutex.Depth() > 0)
        access.hold_ = std::move(hold);
    return access;
}

} // namespace sys::thread
