#include "platform/platform_registry.h"

#include "platform/platform_utf8.h"
#include "platform/posix/RegistryStore.h"

#include <algorithm>
#include <cerrno>
#include <functional>
#include <memory>
#include <mutex>
#include <sqlite3.h>
#include <utility>

namespace platform
{
using posix::ErrorOf;
using posix::IsDamage;
using posix::Query;
using posix::RegistryStore;
using posix::RegistryWriter;
using posix::StoreLock;

namespace
{
constexpr std::size_t kNameLimit = 16383; // characters of a value's name
constexpr char kSchema[] =
    "CREATE TABLE IF NOT EXISTS keys(path TEXT PRIMARY KEY COLLATE blind);"
    "CREATE TABLE IF NOT EXISTS entries(number INTEGER PRIMARY KEY AUTOINCREMENT,"
    " path TEXT COLLATE blind, name TEXT COLLATE blind, type INTEGER, data BLOB,"
    " UNIQUE(path, name));";

/// The numbers of Windows' roots, as handles of this process's width.
RegistryKey Root(std::int32_t number)
{
    return reinterpret_cast<RegistryKey>(static_cast<std::intptr_t>(number));
}

/// The object behind a handle: a location, and the store as last read.
struct Key
{
    bool machine;
    std::string path; // UTF-8, parts with one backslash between them, the view's letter in front
    bool writable;
    RegistryHost host;
    std::unique_ptr<RegistryStore> store;
};

struct KeyDeleter
{
    void operator()(Key* key) const
    {
        const std::lock_guard guard(StoreLock());
        delete key;
    }
};
using OwnedKey = std::unique_ptr<Key, KeyDeleter>;

bool IsRoot(RegistryKey key) { return key == CurrentUserRoot() || key == LocalMachineRoot(); }

/// The place of @p subkey below @p parent.
Key Below(RegistryKey parent, const std::wstring& subkey, std::uint32_t access,
          const RegistryHost& host)
{
    const bool root = IsRoot(parent);
    const Key* const above = root ? nullptr : static_cast<const Key*>(parent);
    Key key{root ? parent == LocalMachineRoot() : above->machine,
            {},
            (access & kRegistryReadWrite) == kRegistryReadWrite,
            host,
            {}};
    std::wstring parts;
    for (std::size_t at = 0; at < subkey.size();)
    {
        const std::size_t end = std::min(subkey.find(L'\\', at), subkey.size());
        if (end > at)
            parts += L'\\' + subkey.substr(at, end - at);
        at = end + 1;
    }
    if (!root)
    {
        key.path = above->path + ToUtf8(parts);
        return key;
    }
    constexpr std::wstring_view kSoftware = L"\\Software";
    const std::wstring_view first = std::wstring_view(parts).substr(0, parts.find(L'\\', 1));
    const bool second =
        key.machine && (access & kRegistryView32) != 0 && host.compare(first, kSoftware) == 0;
    key.path = (second ? "w" : "k") + ToUtf8(parts);
    return key;
}

int Execute(RegistryStore& store, const char* text)
{
    return ::sqlite3_exec(store.Get(), text, nullptr, nullptr, nullptr);
}

/// Makes sure that the key's store is the one at its path.
unsigned long Reach(Key& key)
{
    if (key.store && key.store->IsCurrent(key.machine))
        return 0;
    key.store.reset();
    return RegistryStore::Open(key.machine, key.host, key.store);
}

/// Renames a damaged store, unless another process has done so. @returns whether to try again
bool SetAside(Key& key, const std::function<int(RegistryStore&)>& query)
{
    RegistryWriter writer(key.machine);
    if (writer.Error() != 0)
    {
        key.host.damaged(writer.Path(), L"");
        return false;
    }
    const std::lock_guard guard(StoreLock());
    key.store.reset(); // the previous writer may have renamed it
    return Reach(key) != 0 || !IsDamage(query(*key.store)) || writer.SetAside(key.host);
}

/// Runs @p query in the key's store without creating one; a damaged store is renamed and counts as
/// missing.
unsigned long Reading(Key& key, const std::function<int(RegistryStore&)>& query)
{
    for (bool damaged = false;; damaged = true)
    {
        {
            const std::lock_guard guard(StoreLock());
            if (const unsigned long error = Reach(key); error != 0)
                return error;
            const int result = query(*key.store);
            if (result == SQLITE_ROW)
                return 0;
            if (result == SQLITE_DONE || result == SQLITE_ERROR) // not there, or without tables
                return ENOENT;
            if (damaged || !IsDamage(result))
                return ErrorOf(result);
        }
        if (!SetAside(key, query))
            return EIO;
    }
}

/// Applies @p change in a store that replaces the old one; after a damaged one was renamed, in a
/// new one.
unsigned long Writing(Key& key, const std::function<int(RegistryStore&)>& change)
{
    if (!key.writable)
        return EACCES;
    RegistryWriter writer(key.machine);
    if (writer.Error() != 0)
        return writer.Error();
    std::string image;
    for (bool damaged = false; image.empty(); damaged = true)
    {
        const std::lock_guard guard(StoreLock());
        key.store.reset(); // data read before this writer's turn may be stale
        const unsigned long error = Reach(key);
        if (error == ENOENT)
            key.store = std::make_unique<RegistryStore>(key.host);
        else if (error != 0)
            return error;
        int result = Execute(*key.store, kSchema);
        if (result == SQLITE_OK)
            result = change(*key.store);
        if (result == SQLITE_OK || result == SQLITE_DONE)
        {
            image = key.store->Image();
            if (image.empty())
                return ENOMEM;
        }
        const std::unique_ptr<RegistryStore> changed = std::move(key.store);
        if (!image.empty())
            break;
        if (damaged || !IsDamage(result) || !writer.SetAside(key.host))
            return ErrorOf(result);
    }
    return writer.Replace(image);
}

/// Notes the key and those above it.
int InsertKey(RegistryStore& store, const std::string& path)
{
    int result = SQLITE_DONE;
    for (std::size_t end = path.find('\\'); result == SQLITE_DONE;)
    {
        end = end == std::string::npos ? end : path.find('\\', end + 1);
        result = Query(store.Get(), "INSERT OR IGNORE INTO keys VALUES (?)")
                     .Add(path.substr(0, end))
                     .Step();
        if (end == std::string::npos)
            break;
    }
    return result;
}

unsigned long FindKey(Key& key)
{
    return Reading(key, [&](RegistryStore& store) {
        return Query(store.Get(), "SELECT 1 FROM keys WHERE path = ?").Add(key.path).Step();
    });
}
} // namespace

RegistryKey CurrentUserRoot() { return Root(std::int32_t(-0x7FFFFFFF)); }

RegistryKey LocalMachineRoot() { return Root(std::int32_t(-0x7FFFFFFE)); }

unsigned long OpenRegistryKey(RegistryKey parent, const std::wstring& subkey, std::uint32_t access,
                              const RegistryHost& host, RegistryKey& key)
{
    OwnedKey opened(new Key(Below(parent, subkey, access, host)));
    if (const unsigned long error = FindKey(*opened); error != 0)
        return error;
    key = opened.release();
    return 0;
}

unsigned long CreateRegistryKey(RegistryKey parent, const std::wstring& subkey,
                                std::uint32_t access, const RegistryHost& host, RegistryKey& key)
{
    OwnedKey opened(new Key(Below(parent, subkey, access, host)));
    if (!opened->writable)
    {
        const unsigned long error = FindKey(*opened);
        if (error != 0)
            return error == ENOENT ? EACCES : error; // it would have to be created
    }
    else
    {
        if (const unsigned long error = RegistryWriter::Try(opened->machine); error != 0)
            return error;
        // Most keys exist; the query needs no writer's turn.
        if (FindKey(*opened) != 0)
        {
            const auto error = Writing(
                *opened, [&](RegistryStore& store) { return InsertKey(store, opened->path); });
            if (error != 0)
                return error;
        }
    }
    key = opened.release();
    return 0;
}

void CloseRegistryKey(RegistryKey key)
{
    if (!IsRoot(key) && key != nullptr)
        KeyDeleter()(static_cast<Key*>(key));
}

unsigned long ReadRegistryValue(RegistryKey key, const std::wstring& name, std::uint32_t& type,
                                std::string& bytes)
{
    Key& place = *static_cast<Key*>(key);
    return Reading(place, [&](RegistryStore& store) {
        Query query(store.Get(), "SELECT type, data FROM entries WHERE path = ? AND name = ?");
        const int result = query.Add(place.path).Add(ToUtf8(name)).Step();
        if (result == SQLITE_ROW)
        {
            type = static_cast<std::uint32_t>(query.Number(0));
            bytes = query.Bytes(1);
        }
        return result;
    });
}

unsigned long WriteRegistryValue(RegistryKey key, const std::wstring& name, std::uint32_t type,
                                 std::string_view bytes)
{
    Key& place = *static_cast<Key*>(key);
    if (name.size() > kNameLimit)
        return EINVAL;
    return Writing(place, [&](RegistryStore& store) {
        const int result = InsertKey(store, place.path);
        if (result != SQLITE_DONE)
            return result;
        // An existing value keeps its name as first written, and its position in the order.
        return Query(store.Get(), "INSERT INTO entries(path, name, type, data) VALUES (?, ?, ?, ?)"
                                  " ON CONFLICT(path, name) DO UPDATE SET type = excluded.type,"
                                  " data = excluded.data")
            .Add(place.path)
            .Add(ToUtf8(name))
            .Add(std::int64_t{type})
            .AddBytes(bytes)
            .Step();
    });
}

unsigned long DeleteRegistryValue(RegistryKey key, const std::wstring& name)
{
    Key& place = *static_cast<Key*>(key);
    bool there = true;
    const unsigned long error = Writing(place, [&](RegistryStore& store) {
        const int result = Query(store.Get(), "DELETE FROM entries WHERE path = ? AND name = ?")
                               .Add(place.path)
                               .Add(ToUtf8(name))
                               .Step();
        there = ::sqlite3_changes(store.Get()) > 0;
        return result;
    });
    return error == 0 && !there ? ENOENT : error;
}

std::vector<std::wstring> RegistryValueNames(RegistryKey key)
{
    Key& place = *static_cast<Key*>(key);
    std::vector<std::wstring> names;
    (void)Reading(place, [&](RegistryStore& store) { // a failure gives fewer names
        names.clear();
        Query query(store.Get(), "SELECT name FROM entries WHERE path = ? ORDER BY number");
        query.Add(place.path);
        int result = query.Step();
        for (; result == SQLITE_ROW; result = query.Step())
            names.push_back(FromUtf8(query.Bytes(0)));
        return result;
    });
    return names;
}

bool IsAccessDenied(unsigned long error) { return error == EACCES || error == EROFS; }

} // namespace platform
