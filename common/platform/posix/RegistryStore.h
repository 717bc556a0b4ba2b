/// @file
/// The SQLite file that holds one root of the registry.
#pragma once

#include "platform/platform_registry.h"
#include "platform/posix/Descriptor.h"

#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>

#include <sys/stat.h>

struct sqlite3;
struct sqlite3_stmt;

namespace platform::posix
{

/// One statement, from its parameters to its row.
class Query
{
public:
    Query(sqlite3* store, const char* text);
    ~Query();
    Query(const Query&) = delete;
    Query& operator=(const Query&) = delete;

    Query& Add(std::string_view text);
    Query& Add(std::int64_t number);
    Query& AddBytes(std::string_view bytes);
    /// SQLite's result: a row, done, or an error.
    int Step();
    std::string Bytes(int column) const;
    std::int64_t Number(int column) const;

private:
    sqlite3_stmt* statement_ = nullptr;
    int result_;
    int parameters_ = 0;
};

/// The content of a store's file, in memory.
///
/// A file is never modified: a writer writes a complete new one, which atomically replaces the old
/// one. So a reader neither waits nor writes, and finds the old values or the new ones, even if the
/// writer dies. A file is used only if no user other than this one and root can replace it or a
/// folder on its path. All functions under StoreLock.
class RegistryStore
{
public:
    /// Reads the file. @returns 0, or the system's error number; ENOENT when there is no file
    static unsigned long Open(bool machine, const RegistryHost& host,
                              std::unique_ptr<RegistryStore>& store);
    /// An empty store.
    explicit RegistryStore(const RegistryHost& host);
    ~RegistryStore();
    RegistryStore(const RegistryStore&) = delete;
    RegistryStore& operator=(const RegistryStore&) = delete;

    sqlite3* Get() const { return store_; }
    /// Whether the path still leads to the file that was read.
    bool IsCurrent(bool machine) const;
    /// The bytes of a file with this content; empty when memory runs out.
    std::string Image() const;

private:
    unsigned long Load(const Descriptor& file);

    RegistryHost host_;
    sqlite3* store_ = nullptr;
    struct stat file_
    {
    }; // as it was read
};

/// Excludes this process's SQLite calls during a fork.
std::mutex& StoreLock();

/// The writer lock among processes, and the folder it writes in.
class RegistryWriter
{
public:
    /// Makes the folder when it is missing, and waits for other writers up to ten seconds.
    explicit RegistryWriter(bool machine);
    ~RegistryWriter();
    RegistryWriter(const RegistryWriter&) = delete;
    RegistryWriter& operator=(const RegistryWriter&) = delete;

    /// Whether this user may write the store, making its folder: 0, or the reason why not.
    static unsigned long Try(bool machine);
    /// The library's path of the file.
    std::wstring Path() const;
    /// 0, or the reason why the lock is not held.
    unsigned long Error() const { return error_; }
    /// Replaces the store by a file of these bytes.
    unsigned long Replace(std::string_view image);
    /// Renames the damaged file and reports that.
    /// @returns false when it could not be renamed
    bool SetAside(const RegistryHost& host);

private:
    unsigned long WaitForTurn();

    bool machine_;
    std::string path_;
    Descriptor folder_;
    std::unique_ptr<class LockFile> turn_;
    unsigned long error_ = 0;
};

/// Whether SQLite's @p result says that the file is no store any more.
bool IsDamage(int result);

/// The system's error number for SQLite's @p result; 0 for success.
unsigned long ErrorOf(int result);

} // namespace platform::posix
