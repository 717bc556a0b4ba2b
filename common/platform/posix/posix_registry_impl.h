/// @file
/// The SQLite file that holds one root of the registry.
#pragma once

#include "platform/platform_registry.h"

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

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

/// An open store.
///
/// Changes are transactions with a rollback journal: a process that ends at any moment leaves the
/// old or the new values, and writers wait for each other. A file that is damaged is renamed, once.
class RegistryStore
{
public:
    /// @param write  makes the file when it is not there
    /// @returns 0, or the system's error number
    static unsigned long Open(bool machine, bool write, const RegistryHost& host,
                              std::unique_ptr<RegistryStore>& store);
    ~RegistryStore();
    RegistryStore(const RegistryStore&) = delete;
    RegistryStore& operator=(const RegistryStore&) = delete;

    sqlite3* Get() const { return store_; }
    /// Whether the path still leads to the file that is open.
    bool IsCurrent() const;
    /// Whether the system gives every byte of the file.
    bool IsReadable() const;
    /// Renames the damaged file, unless another process has, and tells it.
    /// @returns false when it could not be renamed
    bool SetAside();

private:
    RegistryStore(std::string path, const RegistryHost& host) : path_(std::move(path)), host_(host)
    {
    }

    std::string path_;
    RegistryHost host_;
    sqlite3* store_ = nullptr;
    std::uint64_t device_ = 0, number_ = 0; // of the open file
};

/// Whether SQLite's @p result says that the file is no store any more.
bool IsDamage(int result);

/// The system's error number for SQLite's @p result; 0 for success.
unsigned long ErrorOf(int result);

} // namespace platform::posix
