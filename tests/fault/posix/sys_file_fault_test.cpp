// Other faults of files: links, permissions, descriptors, names.

#include "foundation/KviError.h"
#include "support/ForkedChild.h"
#include "sys/sys_file.h"
#include "sys/sys_file_InputStream.h"
#include "sys/sys_file_SafeWriter.h"
#include "sys/sys_file_folder.h"

#include <atomic>
#include <cerrno>
#include <thread>
#include <vector>

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace sys::file;
using support::InChild;
using sys_test::Count;
using sys_test::Read;
using sys_test::Write;
using FileFaults = sys_test::FolderTest;

TEST_F(FileFaults, DeletingTakesLinksAndNotWhatTheyLeadTo)
{
    fs::create_directories(folder / "outside");
    Write(folder / "outside" / "precious", "");
    fs::create_directories(folder / "tree" / "sub");
    fs::create_symlink(folder / "outside", folder / "tree" / "sub" / "out");
    fs::create_symlink(folder / "tree", folder / "tree" / "sub" / "round");
    fs::create_symlink("loop", folder / "tree" / "loop");
    fs::create_symlink(folder / "outside", folder / "link");
    fs::create_directory_symlink("gone", folder / "tree" / "dangling");
    for (const char* name : {"link", "link/", "link/.", "link/sub/.."})
        EXPECT_FALSE(DeleteFiles(In(name), 1).ok()) << name;
    EXPECT_TRUE(DeleteDirectory(In("tree"), 1).ok());
    EXPECT_TRUE(DeleteDirectory(In("link/."), 1).ok());
    EXPECT_EQ(Count(folder), 1);
    EXPECT_TRUE(Exists(In("outside/precious")));
}

TEST_F(FileFaults, ARootIsNotDeleted)
{
    Write(folder / "precious", "");
    const int result = InChild([&] {
        if (::chroot(folder.c_str()) != 0 || ::chdir("/") != 0) // whose root it is, is safe
            ::_exit(2);
        const gtl::status refused = KviError::File::invalid_path(L"\\");
        return DeleteFiles(L"\\", 1) == refused && DeleteDirectory(L"\\", 1) == refused &&
               !DeleteDirectory(L"\\precious\\..", 1).ok() && Exists(L"\\precious");
    });
    if (result == 2)
        GTEST_SKIP() << "only root may give a process a root of its own";
    EXPECT_EQ(result, 0);
}

TEST_F(FileFaults, AFolderSwappedForALinkMeanwhileLeadsNowhere)
{
    fs::create_directories(folder / "outside");
    Write(folder / "outside" / "precious", "");
    fs::create_directories(folder / "real");
    std::atomic<bool> done{false};
    // tree/sub is now a folder, now a link to the outside.
    std::thread swapper([&] {
        const fs::path sub = folder / "tree" / "sub", link = folder / "link";
        while (!done)
        {
            std::error_code ignored;
            fs::create_directories(sub, ignored);
            fs::create_directory_symlink(folder / "outside", link, ignored);
            ::renameat2(AT_FDCWD, sub.c_str(), AT_FDCWD, link.c_str(), RENAME_EXCHANGE);
        }
    });
    for (int i = 0; i < 2000; ++i)
        (void)DeleteDirectory(In("tree"), 1); // may fail: the folder comes back
    done = true;
    swapper.join();
    EXPECT_TRUE(Exists(In("outside/precious")));
}

TEST_F(FileFaults, DeepTreesNeedFewDescriptors)
{
    fs::path at = folder / "tree";
    for (int i = 0; i < 100; ++i)
        at /= "d";
    fs::create_directories(at);
    Write(at / "file", "");
    EXPECT_EQ(InChild([&] {
                  const rlimit limit{16, 16};
                  return ::setrlimit(RLIMIT_NOFILE, &limit) == 0 &&
                         DeleteDirectory(In("tree"), 1).ok();
              }),
              0);
    EXPECT_FALSE(fs::exists(folder / "tree"));
}

TEST_F(FileFaults, WithoutDescriptorsNothingHappensAndTheReasonIsReported)
{
    Write(folder / "a", "a");
    EXPECT_EQ(InChild([&] {
                  const rlimit limit{3, 3};
                  // Once before, for sanitizers, which open pipes to look at a new class.
                  (void)MakeFileInputStream(In("a"))->State();
                  (void)Finder(Finder::FilterNone()).FindFile(In("*"));
                  ::setrlimit(RLIMIT_NOFILE, &limit);
                  const std::wstring reason = L"Too many open files";
                  const auto tells = [&](const gtl::status& status, int argument) {
                      return !status.ok() && status.details()->argument(argument) == reason;
                  };
                  return tells(Copy(In("a"), In("b")), 3) && tells(DeleteFiles(In(""), 0), 2) &&
                         tells(MakeFileInputStream(In("a"))->State(), 2) &&
                         !Finder(Finder::FilterNone()).FindFile(In("*")) &&
                         ReadTextFile(In("a")).empty() && Rename(In("a"), In("c")).ok();
              }),
              0);
    EXPECT_EQ(Read(folder / "c"), "a");
    EXPECT_EQ(Count(folder), 1);
}

TEST_F(FileFaults, WhatTheUserMayNotDoIsRefusedWithAReason)
{
    fs::create_directory(folder / "closed");
    Write(folder / "closed" / "a", "a");
    Write(folder / "secret", "s");
    ASSERT_EQ(::chmod((folder / "secret").c_str(), 0), 0);
    ASSERT_EQ(::chmod((folder / "closed").c_str(), 0555), 0);
    const int result = InChild([&] {
        support::BecomeOrdinary();
        const auto denied = [](const gtl::status& status, int argument) {
            return !status.ok() && status.details()->argument(argument) == L"Permission denied";
        };
        return denied(Copy(In("closed/a"), In("closed/b")), 3) && //
               denied(Rename(In("closed/a"), In("closed/b")), 3) &&
               denied(DeleteDirectory(In("closed"), 1), 2) &&
               denied(CreateDirectory(In("closed/b/c")), 2) &&
               denied(MakeFileInputStream(In("secret"))->State(), 2) && FileSize(In("secret")) == 1;
    });
    ::chmod((folder / "closed").c_str(), 0755);
    EXPECT_EQ(result, 0);
    EXPECT_EQ(Read(folder / "closed" / "a"), "a");
}

/// Whatever the folder contains, no other file is written.
TEST_F(FileFaults, ASafeWriterGoesThroughNoLink)
{
    Write(folder / "precious", "precious");
    fs::create_symlink("precious", folder / "result");
    fs::create_symlink("gone", folder / "dangling");
    for (const char* name : {"result", "dangling"})
    {
        EXPECT_TRUE(WriteTextFile(In(name), L"new").ok());
        EXPECT_FALSE(fs::is_symlink(folder / name));
        EXPECT_EQ(Read(folder / name), "new");
    }
    // The folder is renamed and another put in its place: the file stays in the one opened.
    fs::create_directory(folder / "dir");
    SafeWriter writer;
    ASSERT_TRUE(writer.Open(In("dir/result")).ok() && writer.Write("1").ok());
    fs::rename(folder / "dir", folder / "moved");
    fs::create_directory_symlink("moved", folder / "dir");
    EXPECT_TRUE(writer.Commit().ok());
    EXPECT_EQ(Read(folder / "moved" / "result"), "1");
    ASSERT_EQ(::chmod((folder / "result").c_str(), 0640), 0);
    EXPECT_TRUE(WriteTextFile(In("result"), L"private").ok());
    EXPECT_EQ(fs::status(folder / "result").permissions(), fs::perms(0640));
    EXPECT_EQ(Read(folder / "precious"), "precious");
    EXPECT_FALSE(fs::exists(folder / "gone"));
    EXPECT_FALSE(WriteTextFile(L"\\dev\\null", L"x").ok());
}

TEST_F(FileFaults, NothingWaitsForAPipe)
{
    ASSERT_EQ(::mkfifo((folder / "pipe").c_str(), 0600), 0);
    EXPECT_EQ(ReadTextFile(In("pipe")), L"");
    EXPECT_EQ(ReadTextFile(L"\\dev\\zero"), L"");
    EXPECT_FALSE(Copy(In("pipe"), In("b")).ok());
    EXPECT_FALSE(MakeFileInputStream(In("pipe"))->State().ok());
    EXPECT_NE(ReadTextFile(L"\\proc\\self\\status"), L""); // a file without a size
}

TEST_F(FileFaults, EveryNameComesBackFromASearch)
{
    const std::string names[] = {"a\\b", "\xFF\xFE",         "\xC3", "\xED\xA0\x80", "\xE2\x82\xAC",
                                 "a:b ", "\xF0\x9F\x98\x80", "\\"};
    for (const std::string& name : names)
        Write((folder / "").native() + name, name);
    int found = 0;
    Finder finder{Finder::FilterNone()};
    for (bool more = finder.FindFile(In("*")); more; more = finder.FindNextFile(), ++found)
    {
        const std::wstring path = finder.Current().Path();
        EXPECT_TRUE(Exists(path));
        EXPECT_TRUE(Rename(path, path + L".moved").ok());
    }
    EXPECT_EQ(found, std::ssize(names));
    for (const std::string& name : names)
        EXPECT_EQ(Read((folder / "").native() + name + ".moved"), name);
    EXPECT_TRUE(DeleteFiles(In(""), 0).ok());
    EXPECT_EQ(Count(folder), 0);
}

TEST_F(FileFaults, LinksThatLeadInACircleAreReported)
{
    fs::create_symlink("loop", folder / "loop");
    Write(folder / "a", "a");
    EXPECT_FALSE(Exists(In("loop")));
    EXPECT_EQ(ReadTextFile(In("loop")), L"");
    EXPECT_EQ(MakeFileInputStream(In("loop"))->State(),
              KviError::File::open(In("loop"), L"Too many levels of symbolic links"));
    EXPECT_FALSE(Copy(In("loop"), In("b")).ok());
    EXPECT_FALSE(Copy(In("a"), In("loop")).ok());
    Finder finder{Finder::FilterNone()};
    EXPECT_TRUE(finder.FindFile(In("loop")) && !finder.IsDirectory());
    EXPECT_TRUE(Rename(In("loop"), In("moved")).ok());
    EXPECT_TRUE(fs::is_symlink(folder / "moved"));
}

TEST_F(FileFaults, ASearchFindsWhatStaysWhileTheRestComesAndGoes)
{
    for (const char* name : {"a", "m", "z"})
        Write(folder / name, "");
    std::atomic<bool> done{false};
    std::thread other([&] {
        for (int i = 0; !done; ++i)
        {
            const fs::path name = folder / ("b" + std::to_string(i % 20));
            std::error_code ignored;
            i % 40 < 20 ? Write(name, "") : void(fs::remove(name, ignored));
        }
    });
    for (int i = 0; i < 200; ++i)
    {
        std::wstring stable;
        Finder finder{Finder::FilterNone()};
        for (bool more = finder.FindFile(In("*")); more; more = finder.FindNextFile())
            stable += finder.Current().fname.size() == 1 ? finder.Current().fname : L"";
        EXPECT_EQ(stable, L"amz");
    }
    done = true;
    other.join();
}

TEST_F(FileFaults, TemporaryFilesOfManyProcessesAreEachTheirOwnAndPrivate)
{
    constexpr int kProcesses = 4, kFiles = 50;
    ::setenv("TMPDIR", folder.c_str(), 1); // one thread runs
    std::vector<pid_t> children;
    for (int p = 0; p < kProcesses; ++p)
    {
        children.push_back(::fork());
        if (children.back() != 0)
            continue;
        ::umask(0);
        std::wstring path;
        bool right = true;
        for (int i = 0; i < kFiles; ++i)
            right = GetTempFilename(path, L"x").ok() && FileSize(path) == 0 && right;
        ::_exit(right ? 0 : 1);
    }
    for (const pid_t child : children)
    {
        int state = -1;
        ::waitpid(child, &state, 0);
        EXPECT_EQ(state, 0);
    }
    ::unsetenv("TMPDIR");
    EXPECT_EQ(Count(folder), kProcesses * kFiles);
    for (const auto& entry : fs::directory_iterator(folder))
        EXPECT_EQ(entry.status().permissions(), fs::perms(0600));
}

TEST_F(FileFaults, WithoutAFolderForThemThereAreNoTemporaryFiles)
{
    std::wstring path = L"old";
    ::setenv("TMPDIR", (folder / "none").c_str(), 1); // one thread runs
    const gtl::status missing = GetTempFilename(path);
    ::unsetenv("TMPDIR");
    EXPECT_EQ(missing, KviError::File::get_temp_path(L"No such file or directory"));
    EXPECT_EQ(path, L"old");
}

TEST_F(FileFaults, OpeningPassesThePathAsOneArgument)
{
    // An opener of ours, in front of the desktop's.
    const fs::path said = folder / "said";
    Write(folder / "xdg-open", "#!/bin/sh\nprintf '%s|' \"$@\" > " + said.native() + "\n");
    ASSERT_EQ(::chmod((folder / "xdg-open").c_str(), 0700), 0);
    const std::string name = "$(touch x); 'a' \"b\" -c `id`";
    Write(folder / name, "");
    const std::string before = std::getenv("PATH");
    ::setenv("PATH", (folder.native() + ":" + before).c_str(), 1); // one thread runs
    EXPECT_TRUE(ShellOpen(SplitPath(In(name)), nullptr).ok());
    Write(folder / "xdg-open", "#!/bin/sh\nexit 3\n");
    const gtl::status refused = ShellOpen(SplitPath(In(name)), nullptr);
    ::setenv("PATH", folder.c_str(), 1);
    fs::remove(folder / "xdg-open");
    const gtl::status noOpener = ShellOpen(SplitPath(In(name)), nullptr);
    ::setenv("PATH", before.c_str(), 1);
    EXPECT_EQ(Read(said), (folder / name).native() + "|");
    const gtl::status like = KviError::File::shell_missing_association(In(name), L"");
    for (const gtl::status& status : {refused, noOpener})
    {
        ASSERT_FALSE(status.ok());
        EXPECT_EQ(status.details()->message_template(), like.details()->message_template());
        EXPECT_EQ(status.details()->argument(1), In(name));
    }
}
