#include "platform/platform_strings.h"

#include <algorithm>
#include <cstddef>
#include <cwchar>
#include <link.h>

#include <dlfcn.h>

namespace platform
{
namespace
{
struct Row
{
    unsigned code;
    const wchar_t* text;
};

// What cmake/string_table.cpp.in exports.
struct Table
{
    std::size_t count;
    const Row* rows;
};
} // namespace

const void* FindStringTable(Module module)
{
    // The program's handle stays open: it is the process itself.
    return ::dlsym(module != nullptr ? module : ::dlopen(nullptr, RTLD_LAZY), "kvi_string_table");
}

const void* FindStringTableAt(const void* address)
{
    Dl_info about;
    link_map* map = nullptr;
    if (::dladdr1(address, &about, reinterpret_cast<void**>(&map), RTLD_DL_LINKMAP) == 0)
        return nullptr;
    // The program itself has no name in the map.
    const char* const name = map->l_name[0] != 0 ? map->l_name : nullptr;
    void* const module = ::dlopen(name, RTLD_LAZY | RTLD_NOLOAD);
    if (module == nullptr)
        return nullptr;
    const void* const table = ::dlsym(module, "kvi_string_table");
    ::dlclose(module); // loaded by others
    return table;
}

std::wstring_view StringTableText(const void* table, unsigned code)
{
    if (table == nullptr)
        return {};
    const auto& texts = *static_cast<const Table*>(table);
    const Row* const end = texts.rows + texts.count;
    const Row* const row = std::lower_bound(
        texts.rows, end, code, [](const Row& r, unsigned wanted) { return r.code < wanted; });
    if (row == end || row->code != code)
        return {};
    return {row->text, ::wcsnlen(row->text, kTextLimit)};
}

} // namespace platform
