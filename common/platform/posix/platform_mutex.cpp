// A named mutex is a name in the kernel's table of local sockets (an "abstract" name, which is in
// no folder): only one socket can have it, and the kernel gives it up at the very moment when the
// owner's process ends. Those who wait are connected to that socket and see it close. A file with a
// lock would do the same until somebody removes the file.

#include "platform/platform_mutex.h"

#include "platform/posix/platform_names_impl.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <condition_variable>
#include <cstdio>
#include <cstring>
#include <map>
#include <mutex>
#include <thread>
#include <time.h>
#include <utility>
#include <vector>

#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace platform
{

struct CriticalSection::Section
{
    std::recursive_mutex mutex;
};

CriticalSection::CriticalSection() : section_(std::make_unique<Section>()) {}
CriticalSection::~CriticalSection() = default;
void CriticalSection::Lock() { section_->mutex.lock(); }
bool CriticalSection::TryLock() { return section_->mutex.try_lock(); }
void CriticalSection::Unlock() { section_->mutex.unlock(); }

namespace
{

constexpr int kBacklog = 4096; // processes that wait at once
constexpr timespec kMoment{0, 50'000};

class Socket
{
public:
    Socket() = default;
    ~Socket() { Close(); }
    Socket(Socket&& other) noexcept : number_(std::exchange(other.number_, -1)) {}
    Socket& operator=(Socket&& other) noexcept
    {
        std::swap(number_, other.number_);
        return *this;
    }

    bool Open() { return (number_ = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)) >= 0; }
    void Close()
    {
        if (number_ >= 0)
            ::close(std::exchange(number_, -1));
    }
    int Number() const { return number_; }

private:
    int number_ = -1;
};

/// Whether a process of this user is at the other end.
bool IsOurs(const Socket& socket)
{
    ucred other{};
    socklen_t size = sizeof other;
    return ::getsockopt(socket.Number(), SOL_SOCKET, SO_PEERCRED, &other, &size) == 0 &&
           other.uid == ::geteuid();
}

/// Calls bind or connect with the abstract name @p name.
template <class Call>
bool WithName(Call call, const Socket& socket, const std::string& name)
{
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    const std::size_t length = std::min(name.size(), sizeof address.sun_path - 1);
    std::memcpy(address.sun_path + 1, name.data(), length);
    return call(socket.Number(), reinterpret_cast<const sockaddr*>(&address),
                static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + 1 + length)) == 0;
}

/// Whether any process has a socket whose name begins with @p prefix.
bool IsNameInUse(const std::string& prefix)
{
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> table(std::fopen("/proc/net/unix", "re"),
                                                                &std::fclose);
    if (!table)
        return false;
    char line[512];
    while (std::fgets(line, sizeof line, table.get()) != nullptr)
        if (std::strstr(line, (" @" + prefix).c_str()) != nullptr)
            return true;
    errno = ENOENT;
    return false;
}

/// What the objects of this process with one name have in common.
class Record : public NamedMutex, public std::enable_shared_from_this<Record>
{
public:
    explicit Record(std::string name) : name_(std::move(name)) {}

    bool ShowPresence();
    Outcome Acquire(bool wait) override;
    bool Release() override;
    /// Gives the mutex up for a thread that has ended.
    void Abandon(std::thread::id owner);

private:
    Outcome TakeName(bool wait);
    void PassOn();

    const std::string name_;
    Socket presence_; // tells other processes that the mutex exists
    std::mutex lock_;
    std::condition_variable free_;
    bool busy_ = false;     // a thread of this process has it or waits for another process
    std::thread::id owner_; // none while waiting
    int depth_ = 0;
    Socket owned_;
};

/// Gives up what a thread holds when it ends.
class HeldByThread
{
public:
    ~HeldByThread()
    {
        for (const auto& held : records_)
            if (const auto record = held.lock())
                record->Abandon(std::this_thread::get_id());
    }
    void Add(std::weak_ptr<Record> record) { records_.push_back(std::move(record)); }
    void Remove(const Record* record)
    {
        std::erase_if(records_, [&](const auto& held) {
            const auto one = held.lock();
            return !one || one.get() == record;
        });
    }

private:
    std::vector<std::weak_ptr<Record>> records_;
};

HeldByThread& Held()
{
    thread_local HeldByThread held;
    return held;
}

bool Record::ShowPresence()
{
    static std::atomic<unsigned> counter{0};
    const std::string own =
        name_ + ":" + std::to_string(::getpid()) + "." + std::to_string(counter.fetch_add(1));
    return presence_.Open() && WithName(::bind, presence_, own);
}

NamedMutex::Outcome Record::Acquire(bool wait)
{
    const auto self = std::this_thread::get_id();
    {
        std::unique_lock lock(lock_);
        if (owner_ == self)
        {
            ++depth_;
            return Outcome::owned;
        }
        if (busy_ && !wait)
            return Outcome::busy;
        free_.wait(lock, [this] { return !busy_; });
        busy_ = true;
    }
    const Outcome outcome = TakeName(wait);
    const int error = errno;
    {
        const std::lock_guard lock(lock_);
        if (outcome == Outcome::owned)
        {
            owner_ = self;
            depth_ = 1;
        }
        else
            PassOn();
    }
    if (outcome == Outcome::owned)
        Held().Add(weak_from_this());
    errno = error;
    return outcome;
}

/// Lets the next thread of this process try; under the lock.
void Record::PassOn()
{
    owner_ = {};
    depth_ = 0;
    busy_ = false;
    owned_.Close();
    free_.notify_one();
}

/// Gets the name in the kernel's table.
NamedMutex::Outcome Record::TakeName(bool wait)
{
    for (;;)
    {
        Socket mine, watch;
        if (!mine.Open())
            return Outcome::failed;
        if (WithName(::bind, mine, name_))
        {
            if (::listen(mine.Number(), kBacklog) != 0)
                return Outcome::failed;
            owned_ = std::move(mine);
            return Outcome::owned;
        }
        if (errno != EADDRINUSE)
            return Outcome::failed;
        if (!wait)
            return Outcome::busy;
        if (!watch.Open())
            return Outcome::failed;
        if (!WithName(::connect, watch, name_))
        {
            // Between two owners, or before the owner listens.
            if (errno != ECONNREFUSED && errno != EINTR)
                return Outcome::failed;
            ::nanosleep(&kMoment, nullptr);
            continue;
        }
        if (!IsOurs(watch)) // any user may take any name
        {
            errno = EACCES;
            return Outcome::failed;
        }
        pollfd closed{watch.Number(), POLLIN, 0};
        while (::poll(&closed, 1, -1) < 0 && errno == EINTR)
        {
        }
    }
}

bool Record::Release()
{
    {
        const std::lock_guard lock(lock_);
        if (owner_ != std::this_thread::get_id())
        {
            errno = EPERM;
            return false;
        }
        if (--depth_ > 0)
            return true;
        PassOn();
    }
    Held().Remove(this);
    return true;
}

void Record::Abandon(std::thread::id owner)
{
    const std::lock_guard lock(lock_);
    if (owner_ == owner)
        PassOn();
}

std::shared_ptr<NamedMutex> Find(const std::wstring& name, bool mustExist)
{
    static std::mutex lock;
    static std::map<std::string, std::weak_ptr<Record>> records;

    const std::string full = "kvi-" + std::to_string(::geteuid()) + "-" + impl::SafeName(name);
    const std::lock_guard guard(lock);
    if (auto record = records[full].lock())
        return record;
    std::erase_if(records, [](const auto& entry) { return entry.second.expired(); });
    if (mustExist && !IsNameInUse(full + ":"))
        return nullptr;
    auto record = std::make_shared<Record>(full);
    if (!record->ShowPresence())
        return nullptr;
    records[full] = record;
    return record;
}

} // namespace

std::shared_ptr<NamedMutex> NamedMutex::Create(const std::wstring& name)
{
    return Find(name, false);
}

std::shared_ptr<NamedMutex> NamedMutex::Open(const std::wstring& name) { return Find(name, true); }

} // namespace platform
