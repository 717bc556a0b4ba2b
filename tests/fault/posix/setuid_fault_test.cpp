// A set-user-id program, whose caller chooses its environment.

#include "platform/platform_env.h"
#include "platform/platform_text.h"
#include "support/ForkedChild.h"
#include "sys/sys_file.h"
#include "sys/sys_file_folder.h"
#include "sys/sys_reg_Registry.h"

#include <sys/auxv.h>
#include <sys/stat.h>

using SetUserId = sys_test::FolderTest;

namespace
{
constexpr int kOwner = 4711;
}

TEST(SetUserIdChild, DISABLED_LooksAtItsEnvironment)
{
    ASSERT_NE(::getauxval(AT_SECURE), 0u);
    for (const wchar_t* name : {L"KVI_MKL", L"HOME", L"XDG_CONFIG_HOME"})
    {
        EXPECT_TRUE(platform::Environment(name));
        EXPECT_FALSE(platform::TrustedEnvironment(name));
    }
    std::wstring temporary;
    EXPECT_TRUE(sys::file::GetTempDirectory(temporary).ok());
    EXPECT_EQ(temporary, L"\\tmp\\");
    const std::wstring folder = platform::Environment(L"HOME").value_or(L"");
    for (const auto& known : {sys::file::kDocumentsFolder, sys::file::kLocalDataFolder})
        EXPECT_EQ(sys::file::GetKnownFolderPath(known).find(sys::file::GetAbsolutePath(folder)),
                  std::wstring::npos);
    const sys::reg::RegistryPath path{sys::reg::CurrentUser(), L"Software\\KVI test"};
    (void)sys::reg::Registry32(path).WriteInt(L"n", 5, false);
    EXPECT_TRUE(std::filesystem::is_empty(platform::Narrow(folder)));
}

TEST_F(SetUserId, ObeysNoFolderOfItsCaller)
{
    if (::geteuid() != 0)
        GTEST_SKIP() << "only root may make a program for another user";
#ifdef __SANITIZE_ADDRESS__
    GTEST_SKIP() << "the leak checker cannot trace a program with other rights";
#endif
    const fs::path program = folder / "program", home = folder / "home";
    fs::copy_file(fs::read_symlink("/proc/self/exe"), program);
    fs::create_directory(home);
    ASSERT_EQ(::chown(program.c_str(), kOwner, kOwner), 0);
    ASSERT_EQ(::chown(home.c_str(), kOwner, kOwner), 0);
    ASSERT_EQ(::chmod(program.c_str(), 04755), 0);
    const int result = support::InChild([&] {
        support::BecomeOrdinary();
        for (const char* name :
             {"HOME", "XDG_CONFIG_HOME", "XDG_DATA_HOME", "KVI_REGISTRY", "TMPDIR", "KVI_MKL"})
            ::setenv(name, home.c_str(), 1);
        ::execl(program.c_str(), "program", "--gtest_also_run_disabled_tests", "--gtest_brief=1",
                "--gtest_filter=SetUserIdChild.*", nullptr);
        return false;
    });
    EXPECT_EQ(result, 0);
}
