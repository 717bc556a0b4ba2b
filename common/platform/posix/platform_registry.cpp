#include "platform/platform_registry.h"

#include "platform/platform_text.h"
#include "platform/platform_utf8.h"
#include "platform/posix/posix_registry_impl.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <functional>
#include <memory>
#include <sqlite3.h>
#include <utility>

namespace platform
{
using posix::ErrorOf;
using posix::IsDamage;
using posix::Query;
using posix::RegistryStore;

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

/// What a handle stands for: a place, and the store as far as it is open.
struct Key
{
    bool machine;
    std::string path; // UTF-8, parts with one backslash between them, the view's letter in front
    bool writable;
    RegistryHost host;
    std::unique_ptr<RegistryStore> store;
};

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

/// Runs @p query in the key's store; a store that turns out damaged is set aside and counts as
/// none.
unsigned long Reading(Key& key, const std::function<int(RegistryStore&)>& query)
{
    for (int tries = 0; tries < 2; ++tries)
    {
        if (key.store == nullptr || !key.store->IsCurrent())
        {
            key.store.reset();
            if (const auto error =
                    RegistryStore::Open(key.machine, key.writable, key.host, key.store))
                return error;
        }
        const int result = query(*key.store);
        if (result == SQLITE_ROW)
            return 0;
        if (result == SQLITE_DONE || result == SQLITE_ERROR) // not there, or a store without tables
            return ENOENT;
        if (!IsDamage(result))
            return ErrorOf(result);
        key.store->SetAside();
        key.store.reset();
    }
    return ENOENT;
}

/// Runs @p change as one transaction; after a damaged store was set aside, in a new one.
unsigned long Writing(Key& key, const std::function<int(RegistryStore&)>& change)
{
    if (!key.writable)
        return EACCES;
    int result = SQLITE_OK;
    for (int tries = 0; tries < 2; ++tries)
    {
        if (key.store == nullptr || !key.store->IsCurrent())
        {
            key.store.reset();
            if (const auto error = RegistryStore::Open(key.machine, true, key.host, key.store))
                return error;
        }
        RegistryStore& store = *key.store;
        result = Execute(store, "BEGIN IMMEDIATE");
        if (result == SQLITE_OK)
            result = Execute(store, kSchema);
        if (result == SQLITE_OK)
            result = change(store);
        if (result == SQLITE_OK || result == SQLITE_DONE)
            result = Execute(store, "COMMIT");
        if (result == SQLITE_OK)
            return 0;
        (void)Execute(store, "ROLLBACK"); // the first failure is told
        if (!IsDamage(result))
            break;
        store.SetAside();
        key.store.reset();
    }
    return ErrorOf(result);
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
    auto opened = std::make_unique<Key>(Below(parent, subkey, access, host));
    const bool writable = std::exchange(opened->writable, false); // looking makes no file
    if (const unsigned long error = FindKey(*opened); error != 0)
        return error;
    if (writable)
        opened->store.reset();
    opened->writable = writable;
    key = opened.release();
    return 0;
}

unsigned long CreateRegistryKey(RegistryKey parent, const std::wstring& subkey,
                                std::uint32_t access, const RegistryHost& host, RegistryKey& key)
{
    auto opened = std::make_unique<Key>(Below(parent, subkey, access, host));
    if (!opened->writable)
    {
        const unsigned long error = FindKey(*opened);
        if (error != 0)
            return error == ENOENT ? EACCES : error; // it would have to be made
    }
    else
    {
        if (const auto error = RegistryStore::Open(opened->machine, true, host, opened->store))
            return error;
        // Most keys are there; asking needs no turn among the writers.
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
    if (!IsRoot(key)) // null as well
        delete static_cast<Key*>(key);
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

unsigned long ReadRegistryNarrow(RegistryKey key, const std::wstring& name, std::uint32_t& type,
                                 char* text, std::uint32_t& size)
{
    std::string bytes;
    if (const unsigned long error = ReadRegistryValue(key, name, type, bytes); error != 0)
        return error;
    if (type == kRegistryText)
    {
        std::u16string units(bytes.size() / 2, u'\0');
        std::memcpy(units.data(), bytes.data(), units.size() * 2);
        std::wstring wide;
        for (std::size_t i = 0; i < units.size(); ++i)
        {
            const bool pair = (units[i] & 0xFC00) == 0xD800 && i + 1 < units.size() &&
                              (units[i + 1] & 0xFC00) == 0xDC00;
            const char32_t high = units[i];
            AppendCharacter(wide, pair ? 0x10000 + ((high - 0xD800) << 10) + (units[++i] - 0xDC00u)
                                       : high);
        }
        bytes = Narrow(wide);
    }
    const bool fits = bytes.size() <= size;
    size = static_cast<std::uint32_t>(bytes.size());
    if (!fits)
        return EMSGSIZE;
    std::memcpy(text, bytes.data(), bytes.size());
    return 0;
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
        // A value that is there keeps its name as first written, and its place in the order.
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

unsigned long RegistryValueName(RegistryKey key, std::uint32_t index, std::uint32_t room,
                                std::wstring& name)
{
    Key& place = *static_cast<Key*>(key);
    std::wstring found;
    const unsigned long error = Reading(place, [&](RegistryStore& store) {
        Query query(store.Get(),
                    "SELECT name FROM entries WHERE path = ? ORDER BY number LIMIT 1 OFFSET ?");
        const int result = query.Add(place.path).Add(std::int64_t{index}).Step();
        if (result == SQLITE_ROW)
            found = FromUtf8(query.Bytes(0));
        return result;
    });
    if (error != 0 || found.size() >= room)
        return error != 0 ? error : EMSGSIZE;
    name = std::move(found);
    return 0;
}

bool IsAccessDenied(unsigned long error) { return error == EACCES || error == EROFS; }

} // namespace platform
