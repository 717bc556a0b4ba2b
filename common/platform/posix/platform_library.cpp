#include "platform/platform_library.h"

#include "platform/platform_text.h"

#include <link.h>
#include <string>

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
} // namespace

Module LoadModule(const std::wstring& path, SymbolScope scope, std::wstring* error)
{
    // Libraries that share may need one another: what one lacks, the next one loaded brings.
    const int mode = scope == SymbolScope::shared ? RTLD_LAZY | RTLD_GLOBAL : RTLD_NOW | RTLD_LOCAL;
    Module const module = ::dlopen(Narrow(path).c_str(), mode);
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
    // The program itself has no name in the map.
    return Wide(map->l_name[0] != '\0' ? std::string(map->l_name) : ProgramPath());
}

void* Symbol(Module module, const char* name) { return ::dlsym(module, name); }

} // namespace platform
