#include "Process.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <malloc.h>

#include <dlfcn.h>

Module::Module(const char* path) : handle(::dlopen(path, RTLD_NOW | RTLD_LOCAL))
{
    if (handle == nullptr)
        std::printf("%s\n", ::dlerror());
}

void* Module::Function(const char* name) const { return ::dlsym(handle, name); }

void Module::Unload() { ::dlclose(handle); }

bool HasLibrary()
{
    std::ifstream maps("/proc/self/maps");
    for (std::string line; std::getline(maps, line);)
        if (line.find("libKVI.so") != std::string::npos)
            return true;
    return false;
}

namespace
{
long EntriesOf(const char* folder)
{
    return std::distance(std::filesystem::directory_iterator(folder), {});
}
} // namespace

Holdings::Holdings()
    : threads(EntriesOf("/proc/self/task")), descriptors(EntriesOf("/proc/self/fd")),
      bytes(static_cast<long>(::mallinfo2().uordblks))
{
}
