#include "platform/platform_library.h"
#include "platform/platform_text.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include <sys/wait.h>
#include <unistd.h>

namespace fs = std::filesystem;

/// In a process whose linker was told to look in the current folder.
TEST(LibraryChild, DISABLED_LoadsByName)
{
    std::wstring error;
    EXPECT_EQ(platform::LoadModule(L"libkvi_planted.so", platform::SymbolScope::own, &error),
              nullptr);
    EXPECT_NE(platform::LoadModule(L"libm.so.6", platform::SymbolScope::own, &error), nullptr)
        << platform::Narrow(error);
    EXPECT_NE(
        platform::LoadModule(platform::Wide((fs::current_path() / "libkvi_planted.so").native()),
                             platform::SymbolScope::own),
        nullptr)
        << "it could be loaded";
}

TEST(Library, IsNotLoadedThroughAnEmptyItemOfTheSearchPath)
{
    const fs::path folder = fs::path(KVI_TEST_TEMP) / "library",
                   self = fs::read_symlink("/proc/self/exe");
    fs::create_directories(folder);
    fs::path library = "/lib/x86_64-linux-gnu/libm.so.6"; // any will do
    if (!fs::exists(library))
        GTEST_SKIP() << "no library to plant";
    fs::copy_file(library, folder / "libkvi_planted.so", fs::copy_options::overwrite_existing);
    for (const char* path : {"", ":/lib", ".", "/lib:"})
    {
        const std::string command = "cd '" + folder.native() + "' && LD_LIBRARY_PATH='" + path +
                                    "' '" + self.native() +
                                    "' --gtest_also_run_disabled_tests --gtest_brief=1 " +
                                    "--gtest_filter=LibraryChild.DISABLED_LoadsByName";
        EXPECT_EQ(std::system(command.c_str()), 0) << "LD_LIBRARY_PATH=" << path;
    }
}
