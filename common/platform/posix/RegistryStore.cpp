#include "platform/posix/RegistryStore.h"

#include "platform/platform_env.h"
#include "platform/platform_fork.h"
#include "platform/platform_text.h"
#include "platform/platform_utf8.h"
#include "platform/posix/ConfigurationFolder.h"
#include "platform/posix/Draft.h"
#include "platform/posix/LockFile.h"
#include "platform/posix/SystemPath.h"

#include <cerrno>
#include <cstring>
#include <ctime>
#include <sqlite3.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace platform::posix
{
namespace
{
constexpr int kTimeout = 10'000;            // milliseconds that a writer waits for others
constexpr off_t kLargest = off_t{64} << 20; // of a store's file
constexpr int kLinks = 40;                  // on the way to it
constexpr mode_t kOthersWrite = S_IWOTH;

unsigned long Number() { return static_cast<unsigned long>(errno); }

// After the locks of settings above, before those of the log, to which damage is reported.
constinit ForkHandler forkHandler{ForkRank::pool, [] { StoreLock().lock(); },
                                  [] { StoreLock().unlock(); }, [] { StoreLock().unlock(); }};

std::string StorePath(bool machine)
{
    const char* const folder = ::secure_getenv("KVI_REGISTRY");
    if (folder != nullptr && *folder != '\0')
        return std::string(folder) + (machine ? "/machine.sqlite" : "/user.sqlite");
    return (machine ? "/etc" : ConfigurationFolder()) + "/kvi/registry.sqlite";
}

/// Whether only this user and root can replace entries of @p folder.
bool IsSafe(const struct stat& folder)
{
    const bool ours = folder.st_uid == ::geteuid() || folder.st_uid == 0;
    return ours && ((folder.st_mode & kOthersWrite) == 0 || (folder.st_mode & S_ISVTX) != 0);
}

/// Opens the folder of the absolute path @p path step by step, so that the checked folder is the
/// one used. A link is followed if this user or root owns it. With @p make missing folders are
/// created in folders of this user.
unsigned long OpenFolder(std::string path, bool machine, bool make, Descriptor& folder)
{
    Descriptor at(::open("/", O_PATH | O_DIRECTORY | O_CLOEXEC));
    path.resize(path.rfind('/') + 1);
    for (int links = 0; !path.empty();)
    {
        const std::size_t end = path.find('/');
        const std::string part = path.substr(0, end);
        path.erase(0, end == path.npos ? end : end + 1);
        if (part.empty() || part == ".")
            continue;
        struct stat parent, about;
        if (::fstat(at.Number(), &parent) != 0)
            return Number();
        bool there = ::fstatat(at.Number(), part.c_str(), &about, AT_SYMLINK_NOFOLLOW) == 0;
        if (!there && errno == ENOENT && make && parent.st_uid == ::geteuid())
            there = ::mkdirat(at.Number(), part.c_str(), machine ? 0755 : 0700) == 0 &&
                    ::fstatat(at.Number(), part.c_str(), &about, AT_SYMLINK_NOFOLLOW) == 0;
        if (!there)
            return errno == ENOENT && make ? EACCES : Number();
        if (S_ISLNK(about.st_mode))
        {
            std::string target(static_cast<std::size_t>(about.st_size) + 1, '\0');
            const auto size = ::readlinkat(at.Number(), part.c_str(), target.data(), target.size());
            if (size <= 0 || ++links > kLinks || (about.st_uid != ::geteuid() && about.st_uid != 0))
                return size < 0 ? Number() : links > kLinks ? ELOOP : EACCES;
            target.resize(static_cast<std::size_t>(size));
            path = target + '/' + path;
            if (target[0] == '/')
                at = Descriptor(::open("/", O_PATH | O_DIRECTORY | O_CLOEXEC));
            continue;
        }
        Descriptor next(
            ::openat(at.Number(), part.c_str(), O_PATH | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
        if (!next.IsOpen() || ::fstat(next.Number(), &about) != 0)
            return Number();
        if (!IsSafe(about))
            return EACCES;
        at = std::move(next);
    }
    folder = std::move(at);
    return 0;
}

std::string LeafOf(const std::string& path) { return path.substr(path.rfind('/') + 1); }

int Compare(void* host, int sizeA, const void* a, int sizeB, const void* b)
{
    const auto wide = [](const void* text, int size) {
        return FromUtf8({static_cast<const char*>(text), static_cast<std::size_t>(size)});
    };
    return static_cast<const RegistryHost*>(host)->compare(wide(a, sizeA), wide(b, sizeB));
}
} // namespace

std::mutex& StoreLock()
{
    static constinit std::mutex lock; // needs no destruction
    AddForkHandler(forkHandler);
    return lock;
}

Query::Query(sqlite3* store, const char* text)
    : result_(::sqlite3_prepare_v2(store, text, -1, &statement_, nullptr))
{
}

Query::~Query() { ::sqlite3_finalize(statement_); }

Query& Query::Add(std::string_view text)
{
    if (result_ == SQLITE_OK)
        result_ = ::sqlite3_bind_text(statement_, ++parameters_, text.data(),
                                      static_cast<int>(text.size()), SQLITE_TRANSIENT);
    return *this;
}

Query& Query::Add(std::int64_t number)
{
    if (result_ == SQLITE_OK)
        result_ = ::sqlite3_bind_int64(statement_, ++parameters_, number);
    return *this;
}

Query& Query::AddBytes(std::string_view bytes)
{
    if (result_ == SQLITE_OK)
        result_ = ::sqlite3_bind_blob64(statement_, ++parameters_, bytes.data(), bytes.size(),
                                        SQLITE_TRANSIENT);
    return *this;
}

int Query::Step() { return result_ == SQLITE_OK ? ::sqlite3_step(statement_) : result_; }

std::string Query::Bytes(int column) const
{
    const void* const bytes = ::sqlite3_column_blob(statement_, column);
    const auto size = static_cast<std::size_t>(::sqlite3_column_bytes(statement_, column));
    return size == 0 ? std::string() : std::string(static_cast<const char*>(bytes), size);
}

std::int64_t Query::Number(int column) const { return ::sqlite3_column_int64(statement_, column); }

RegistryStore::RegistryStore(const RegistryHost& host) : host_(host)
{
    // One thread at a time uses SQLite here.
    if (::sqlite3_open_v2(":memory:", &store_, SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX,
                          nullptr) == SQLITE_OK)
        ::sqlite3_create_collation(store_, "blind", SQLITE_UTF8, &host_, &Compare);
}

RegistryStore::~RegistryStore() { ::sqlite3_close(store_); }

unsigned long RegistryStore::Open(bool machine, const RegistryHost& host,
                                  std::unique_ptr<RegistryStore>& store)
{
    const std::string path = StorePath(machine);
    Descriptor folder;
    if (const unsigned long error = OpenFolder(path, machine, false, folder); error != 0)
        return error;
    const Descriptor file(::openat(folder.Number(), LeafOf(path).c_str(),
                                   O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    if (!file.IsOpen())
        return Number();
    auto opened = std::make_unique<RegistryStore>(host);
    const unsigned long error = opened->Load(file);
    if (error == 0)
        store = std::move(opened);
    return error;
}

unsigned long RegistryStore::Load(const Descriptor& file)
{
    if (::fstat(file.Number(), &file_) != 0)
        return Number();
    if (!S_ISREG(file_.st_mode) || !IsSafe(file_))
        return EACCES;
    if (file_.st_size > kLargest)
        return EFBIG;
    const auto size = static_cast<std::size_t>(file_.st_size);
    auto* const image = static_cast<unsigned char*>(::sqlite3_malloc64(size + 1));
    if (image == nullptr)
        return ENOMEM;
    std::size_t got = 0;
    for (ssize_t n = 1; got < size && n > 0;)
    {
        n = ::pread(file.Number(), image + got, size - got, static_cast<off_t>(got));
        if (n < 0 && errno == EINTR)
            n = 1;
        else if (n < 0)
        {
            const unsigned long error = Number();
            ::sqlite3_free(image);
            return error;
        }
        else
            got += static_cast<std::size_t>(n);
    }
    if (got == 0) // an empty file counts as a new store
    {
        ::sqlite3_free(image);
        return 0;
    }
    const auto length = static_cast<sqlite3_int64>(got);
    // SQLite frees the image, also when it fails.
    const int result =
        ::sqlite3_deserialize(store_, "main", image, length, length,
                              SQLITE_DESERIALIZE_FREEONCLOSE | SQLITE_DESERIALIZE_RESIZEABLE);
    return result == SQLITE_OK ? 0 : ErrorOf(result);
}

bool RegistryStore::IsCurrent(bool machine) const
{
    struct stat now;
    return ::stat(StorePath(machine).c_str(), &now) == 0 && now.st_dev == file_.st_dev &&
           now.st_ino == file_.st_ino && now.st_size == file_.st_size &&
           std::memcmp(&now.st_ctim, &file_.st_ctim, sizeof now.st_ctim) == 0;
}

std::string RegistryStore::Image() const
{
    sqlite3_int64 size = 0;
    unsigned char* const image = ::sqlite3_serialize(store_, "main", &size, 0);
    std::string bytes;
    if (image != nullptr)
        bytes.assign(reinterpret_cast<const char*>(image), static_cast<std::size_t>(size));
    ::sqlite3_free(image);
    return bytes;
}

std::wstring RegistryWriter::Path() const { return FromSystemPath(path_); }

unsigned long RegistryWriter::Try(bool machine)
{
    Descriptor folder;
    if (const auto error = OpenFolder(StorePath(machine), machine, true, folder); error != 0)
        return error;
    struct stat about;
    if (::fstat(folder.Number(), &about) != 0 || about.st_uid != ::geteuid())
        return EACCES;
    if (::faccessat(folder.Number(), ".", W_OK, AT_EACCESS) != 0)
        return errno == EROFS ? EACCES : Number();
    return 0;
}

RegistryWriter::RegistryWriter(bool machine) : machine_(machine), path_(StorePath(machine))
{
    error_ = OpenFolder(path_, machine, true, folder_);
    if (error_ == 0)
        error_ = WaitForTurn();
}

unsigned long RegistryWriter::WaitForTurn()
{
    struct stat about;
    // Never write into another user's folder, even with permission.
    if (::fstat(folder_.Number(), &about) != 0 || about.st_uid != ::geteuid())
        return EACCES;
    Descriptor file(::openat(folder_.Number(), (LeafOf(path_) + ".lock").c_str(),
                             O_RDWR | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC, 0600));
    if (!file.IsOpen())
        return errno == EROFS ? EACCES : Number();
    turn_ = std::make_unique<LockFile>(std::move(file));
    constexpr timespec kMoment{0, 2'000'000};
    for (int waited = 0; !turn_->Lock(0, 1, false); waited += 2)
    {
        if (errno != EAGAIN || waited >= kTimeout)
            return errno == EAGAIN ? EBUSY : Number();
        ::nanosleep(&kMoment, nullptr);
    }
    return 0;
}

RegistryWriter::~RegistryWriter()
{
    if (turn_)
        turn_->Unlock(0, 1);
}

unsigned long RegistryWriter::Replace(std::string_view image)
{
    Draft draft(folder_, LeafOf(path_), 0600);
    if (draft.Error() != 0)
        return draft.Error();
    // The machine's settings are readable by all, whatever the umask; an existing file keeps its
    // read permissions.
    mode_t mode = machine_ ? 0644 : 0600;
    if (struct stat there; draft.TargetStatus(there) == 0 && S_ISREG(there.st_mode))
        mode = there.st_mode & 0775;
    if (const auto error = WriteAll(draft.File(), image.data(), image.size(), 0); error != 0)
        return error;
    if (::fchmod(draft.File(), mode) != 0 || ::fsync(draft.File()) != 0)
        return Number();
    const unsigned long error = draft.Replace();
    return error != 0 ? error : draft.SyncFolder();
}

bool RegistryWriter::SetAside(const RegistryHost& host)
{
    const std::string leaf = LeafOf(path_);
    std::string aside;
    unsigned long error = EEXIST;
    for (int i = 1; error == EEXIST; ++i)
    {
        aside = leaf + ".damaged-" + std::to_string(i);
        error = RenameNew(folder_.Number(), leaf, folder_.Number(), aside);
    }
    const std::string folder = path_.substr(0, path_.rfind('/') + 1);
    host.damaged(FromSystemPath(path_), error == 0 ? FromSystemPath(folder + aside) : L"");
    return error == 0;
}

bool IsDamage(int result)
{
    const int kind = result & 0xFF;
    return kind == SQLITE_CORRUPT || kind == SQLITE_NOTADB;
}

unsigned long ErrorOf(int result)
{
    switch (result & 0xFF)
    {
    case SQLITE_OK:
    case SQLITE_ROW:
    case SQLITE_DONE:
        return 0;
    case SQLITE_CANTOPEN:
    case SQLITE_READONLY:
    case SQLITE_PERM:
    case SQLITE_AUTH:
        return EACCES;
    case SQLITE_FULL:
        return ENOSPC;
    case SQLITE_BUSY:
    case SQLITE_LOCKED:
        return EBUSY;
    case SQLITE_NOMEM:
        return ENOMEM;
    default:
        return EIO;
    }
}

} // namespace platform::posix
