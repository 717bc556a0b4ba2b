/// @file
/// A separate key for each test of the registry.
#pragma once

#include "platform/platform_env.h"
#include "platform/platform_registry.h"
#include "sys/reg/RegistryValues.h"
#include "sys/sys_file_folder.h"
#include "sys/sys_reg_Registry.h"

#include <random>

namespace sys_test
{

/// Where the registry is a file, it lies in the test's folder.
class RegistryTest : public FolderTest
{
protected:
    void SetUp() override
    {
        FolderTest::SetUp();
        platform::SetEnvironment(L"KVI_REGISTRY", str::as_wstring(folder.string()));
        std::random_device random; // keys stay behind where the registry is the system's
        path = {sys::reg::CurrentUser(),
                L"Software\\KORVANE\\Test " + std::to_wstring(random()) + L"\\Deep"};
    }

    /// Stores a value of any type.
    void Store(const wchar_t* name, std::uint32_t type, std::string_view bytes) const
    {
        platform::RegistryKey key = nullptr;
        ASSERT_EQ(platform::CreateRegistryKey(path.root, path.subkey, platform::kRegistryReadWrite,
                                              sys::reg::Host(), key),
                  0u);
        EXPECT_EQ(platform::WriteRegistryValue(key, name, type, bytes), 0u);
        platform::CloseRegistryKey(key);
    }

    sys::reg::RegistryPath path;
};

} // namespace sys_test
