#include "platform/platform_library.h"

#include "platform/platform_text.h"

#include <algorithm>
#include <cstddef>
#include <link.h>
#include <string>
#include <vector>

#include <dlfcn.h>
#include <unistd.h>

namespace platform
{
namespace
{
std::string ProgramPath()
{
    std::string path(256, '\0');
    for (;;)
    {
        const ssize_t length = ::readlink("/proc/self/exe", path.data(), path.size());
        if (length < 0)
            return {};
        const auto used = static_cast<std::size_t>(length);
        if (used < path.size())
            return path.substr(0, used);
        path.resize(path.size() * 2); // may have been cut
    }
}

std::wstring PathOf(const struct link_map& map)
{
    // The program itself has no name in the map.
    return Wide(map.l_name[0] != '\0' ? std::string(map.l_name) : ProgramPath());
}

/// The folders in which the dynamic linker looks for a name; empty when unknown.
std::vector<std::string> SearchFolders()
{
    std::vector<std::string> folders;
    void* const program = ::dlopen(nullptr, RTLD_LAZY);
    if (program == nullptr)
        return folders;
    Dl_serinfo needed{};
    if (::dlinfo(program, RTLD_DI_SERINFOSIZE, &needed) == 0)
    {
        std::vector<std::max_align_t> room(needed.dls_size / sizeof(std::max_align_t) + 1);
        auto* const list = reinterpret_cast<Dl_serinfo*>(room.data());
        *list = needed;
        if (::dlinfo(program, RTLD_DI_SERINFO, list) == 0)
            for (unsigned i = 0; i < list->dls_cnt; ++i)
                folders.emplace_back(list->dls_serpath[i].dls_name);
    }
    ::dlclose(program);
    return folders;
}

/// Opens the library @p name, which has no folder.
Module OpenByName(const std::string& name, int mode)
{
    const std::vector<std::string> folders = SearchFolders();
    const auto absolute = [](const std::string& folder) { return folder.starts_with('/'); };
    if (std::all_of(folders.begin(), folders.end(), absolute))
        return ::dlopen(name.c_str(), mode);
    // The linker would also search the current folder.
    Module module = nullptr;
    for (const std::string& folder : folders)
        if (module == nullptr && absolute(folder))
            module = ::dlopen((folder + '/' + name).c_str(), mode);
    return module;
}
} // namespace

Module LoadModule(const std::wstring& path, SymbolScope scope, std::wstring* error)
{
    // Libraries with shared symbols may depend on one another: symbols missing in one are provided
    // by the next.
    const int mode = scope == SymbolScope::shared ? RTLD_LAZY | RTLD_GLOBAL : RTLD_NOW | RTLD_LOCAL;
    const std::string name = Narrow(path);
    const bool hasFolder = name.find('/') != std::string::npos;
    Module const module = hasFolder ? ::dlopen(name.c_str(), mode) : OpenByName(name, mode);
    if (module == nullptr && error != nullptr)
        *error = Wide(::dlerror()); // NOLINT(concurrency-mt-unsafe): one for each thread
    return module;
}

void UnloadModule(Module module) { ::dlclose(module); }

std::wstring ModulePath(Module module)
{
    if (module == nullptr)
        return Wide(ProgramPath());
    struct link_map* map = nullptr;
    if (::dlinfo(module, RTLD_DI_LINKMAP, &map) != 0 || map == nullptr)
        return {};
    return PathOf(*map);
}

std::wstring ModulePathAt(const void* address)
{
    Dl_info about;
    struct link_map* map = nullptr;
    const int found = ::dladdr1(address, &about, reinterpret_cast<void**>(&map), RTLD_DL_LINKMAP);
    return found == 0 || map == nullptr ? std::wstring() : PathOf(*map);
}

void* Symbol(Module module, const char* name) { return ::dlsym(module, name); }

} // namespace platform
