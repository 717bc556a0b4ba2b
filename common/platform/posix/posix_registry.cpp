#include "platform/platform_utf8.h"
#include "platform/posix/posix_file_impl.h"
#include "platform/posix/posix_folders_impl.h"
#include "platform/posix/posix_path_impl.h"
#include "platform/posix/posix_registry_impl.h"

#include <array>
#include <cerrno>
#include <cstdlib>
#include <iterator>
#include <sqlite3.h>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace platform::posix
{
namespace
{
constexpr int kPatience = 10000; // milliseconds that a writer waits for others

std::string StorePath(bool machine)
{
    // NOLINTNEXTLINE(concurrency-mt-unsafe)
    const char* const folder = std::getenv("KVI_REGISTRY");
    if (folder != nullptr && *folder != '\0')
        return std::string(folder) + (machine ? "/machine.sqlite" : "/user.sqlite");
    return (machine ? "/etc" : ConfigurationFolder()) + "/kvi/registry.sqlite";
}

/// The folder of a path that has one; empty for "/".
std::string FolderOf(const std::string& path) { return path.substr(0, path.rfind('/')); }

/// Makes the folder of a store, and those above it; what fails shows when the store is opened.
void MakeFolders(const std::string& folder, mode_t mode)
{
    if (::mkdir(folder.c_str(), mode) == 0 || errno != ENOENT || folder.find('/', 1) == folder.npos)
        return;
    MakeFolders(FolderOf(folder), mode);
    ::mkdir(folder.c_str(), mode);
}

int Compare(void* host, int sizeA, const void* a, int sizeB, const void* b)
{
    const auto wide = [](const void* text, int size) {
        return FromUtf8({static_cast<const char*>(text), static_cast<std::size_t>(size)});
    };
    return static_cast<const RegistryHost*>(host)->compare(wide(a, sizeA), wide(b, sizeB));
}
} // namespace

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

unsigned long RegistryStore::Open(bool machine, bool write, const RegistryHost& host,
                                  std::unique_ptr<RegistryStore>& store)
{
    std::unique_ptr<RegistryStore> opened(new RegistryStore(StorePath(machine), host));
    const std::string& path = opened->path_;
    const std::string folder = FolderOf(path);
    if (write)
    {
        MakeFolders(folder, machine ? 0755 : 0700);
        // Writing makes a journal beside the store.
        if (::faccessat(AT_FDCWD, folder.c_str(), W_OK, AT_EACCESS) != 0)
            return errno == EROFS ? EACCES : static_cast<unsigned long>(errno);
    }
    struct stat about;
    const bool there = ::stat(path.c_str(), &about) == 0;
    if (!write && !there)
        return static_cast<unsigned long>(errno);
    // Readers as well take what a writer that was killed left half done back; where they may not
    // write, SQLite opens for reading.
    const int flags = SQLITE_OPEN_READWRITE | (write ? SQLITE_OPEN_CREATE : 0);
    // One thread at a time uses a key, and a store belongs to one key.
    const int result =
        ::sqlite3_open_v2(path.c_str(), &opened->store_, flags | SQLITE_OPEN_NOMUTEX, nullptr);
    if (result != SQLITE_OK)
        return ErrorOf(result);
    if (write && ::sqlite3_db_readonly(opened->store_, "main") == 1)
        return EACCES;
    // The machine's settings are for all to read, the user's for the user; whatever the umask.
    if (!there)
        ::chmod(path.c_str(), machine ? 0644 : 0600);
    if (::stat(path.c_str(), &about) == 0)
    {
        opened->device_ = about.st_dev;
        opened->number_ = about.st_ino;
    }
    ::sqlite3_busy_timeout(opened->store_, kPatience);
    ::sqlite3_create_collation(opened->store_, "blind", SQLITE_UTF8, &opened->host_, &Compare);
    store = std::move(opened);
    return 0;
}

RegistryStore::~RegistryStore() { ::sqlite3_close(store_); }

bool RegistryStore::IsCurrent() const
{
    struct stat about;
    return ::stat(path_.c_str(), &about) == 0 && about.st_dev == device_ && about.st_ino == number_;
}

bool RegistryStore::IsReadable() const
{
    // Through SQLite's own descriptor: closing another one would drop the locks of this process.
    sqlite3_file* file = nullptr;
    ::sqlite3_file_control(store_, "main", SQLITE_FCNTL_FILE_POINTER, &file);
    sqlite3_int64 size = 0;
    if (file == nullptr || file->pMethods == nullptr ||
        file->pMethods->xFileSize(file, &size) != SQLITE_OK)
        return false;
    std::array<char, 4096> piece;
    int result = SQLITE_OK;
    for (sqlite3_int64 at = 0; at < size && result == SQLITE_OK; at += std::ssize(piece))
        result = file->pMethods->xRead(file, piece.data(), static_cast<int>(piece.size()), at);
    return result == SQLITE_OK || result == SQLITE_IOERR_SHORT_READ;
}

bool RegistryStore::SetAside()
{
    // One process at a time looks and renames, so that no new store is taken for the damaged one.
    const Descriptor folder(::open(FolderOf(path_).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (folder.IsOpen())
        ::flock(folder.Number(), LOCK_EX);
    if (!IsCurrent())
        return true;
    std::string aside;
    struct stat about;
    for (int i = 1; aside.empty() || ::lstat(aside.c_str(), &about) == 0; ++i)
        aside = path_ + ".damaged-" + std::to_string(i);
    // The journal first: it must never be taken for one of the new store.
    ::rename((path_ + "-journal").c_str(), (aside + "-journal").c_str());
    if (::rename(path_.c_str(), aside.c_str()) != 0)
        aside.clear();
    host_.damaged(FromSystemPath(path_), FromSystemPath(aside));
    return !aside.empty();
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
