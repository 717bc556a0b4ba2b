// Resources of the running process, and modules that it loads.
#pragma once

#include <string>

struct Module
{
    explicit Module(const char* path);
    /// Its function of that name.
    void* Function(const char* name) const;
    void Unload();
    void* handle;
};

/// Whether the library KVI is loaded.
bool HasLibrary();
/// Threads, open descriptors or handles, and allocated bytes (0 where the system does not say).
struct Holdings
{
    Holdings();
    long threads, descriptors, bytes;
};
