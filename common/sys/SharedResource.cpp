#include "sys/SharedResource.h"

#include "foundation/KviError.h"

#include <map>
#include <optional>
#include <utility>

namespace sys::thread
{
namespace
{

/// The mutex that opening and closing @p name take turns with.
std::wstring DoorName(const std::wstring& name) { return name + L" (opening)"; }

/// Holds a door's mutex.
class Door
{
public:
    explicit Door(const std::wstring& name) : made_(mutex_.Create(DoorName(name)))
    {
        if (made_.ok())
            mutex_.Lock();
    }
    ~Door()
    {
        if (mutex_.Depth() > 0)
            mutex_.Unlock();
    }
    Door(const Door&) = delete;
    Door& operator=(const Door&) = delete;
    const gtl::status& Made() const { return made_; }

private:
    impl::SystemExclusiveAccess mutex_;
    gtl::status made_;
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

/// What this process has open, by name.
class SharedResourceManager
{
public:
    static SharedResourceManager& Instance()
    {
        static SharedResourceManager& manager = *new SharedResourceManager;
        return manager;
    }

    gtl::status Open(const std::wstring& name, SharedResource* resource, unsigned long flags)
    {
        if (resource == nullptr)
            return OpenError(L"There is no resource.");
        {
            const auto open = open_.Access();
            if (!open->emplace(name, resource).second)
                return OpenError(L"This process has a resource of that name open.");
            resource->name_ = name;
            resource->flags_ = flags;
        }
        // Hooks run without the manager's lock: they may take their time, and open others.
        gtl::status opened = OpenAmongProcesses(*resource);
        if (!opened.ok())
        {
            (void)resource->mutex_.Close(); // cannot fail
            open_.Access()->erase(name);
        }
        return opened;
    }

    gtl::status Close(const std::wstring& name)
    {
        SharedResource* resource = nullptr;
        {
            const auto open = open_.Access();
            const auto found = open->find(name);
            if (found == open->end())
                return gtl::status(
                    L"Attempt to close resource %s, when that resource does not exist.", name);
            resource = found->second;
            open->erase(found);
        }
        const Door door(name);
        gtl::status closed = resource->OnClose();
        (void)resource->mutex_.Close(); // cannot fail
        if (ExistsAnywhere(name))
            return closed;
        gtl::status destroyed = resource->OnDestroy();
        return closed.ok() ? destroyed : closed;
    }

    std::optional<impl::SystemExclusiveAccess> MutexOf(const std::wstring& name)
    {
        const auto open = open_.Access();
        const auto found = open->find(name);
        if (found == open->end() || !found->second->mutex_.IsReady())
            return std::nullopt;
        return found->second->mutex_;
    }

private:
    static gtl::status OpenAmongProcesses(SharedResource& resource)
    {
        const Door door(resource.name_);
        if (!door.Made().ok())
            return OpenError(door.Made().as_wstring());
        const bool first = !ExistsAnywhere(resource.name_);
        if (const gtl::status made = resource.mutex_.Create(resource.name_); !made.ok())
            return OpenError(made.as_wstring());
        return first ? resource.OnCreate() : resource.OnOpen();
    }

    ExclusiveAccessOf<std::map<std::wstring, SharedResource*>, impl::ProcessExclusiveAccess> open_;
};

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
