// Copies and renames that meet full disks, other disks, links and holes.

#include "support/ForkedChild.h"
#include "sys/sys_file.h"
#include "sys/sys_file_InputStream.h"
#include "sys/sys_file_folder.h"

#include <chrono>

#include <sys/mount.h>
#include <sys/stat.h>

using namespace sys::file;
using sys_test::Count;
using sys_test::Read;
using sys_test::Write;
using CopyFaults = sys_test::FolderTest;

namespace
{
/// A small disk of memory; only root may have one.
class SmallDisk
{
public:
    explicit SmallDisk(const fs::path& at) : at_(at)
    {
        fs::create_directory(at);
        mounted_ = ::mount("tmpfs", at.c_str(), "tmpfs", 0, "size=64k") == 0;
    }
    ~SmallDisk()
    {
        if (mounted_)
            ::umount2(at_.c_str(), MNT_DETACH);
    }
    SmallDisk(const SmallDisk&) = delete;
    SmallDisk& operator=(const SmallDisk&) = delete;

    bool IsThere() const { return mounted_; }

private:
    fs::path at_;
    bool mounted_;
};
} // namespace

TEST_F(CopyFaults, ADiskThatFillsLeavesSourceAndTarget)
{
    const SmallDisk disk(folder / "disk");
    if (!disk.IsThere())
        GTEST_SKIP() << "only root may mount a small disk";
    Write(folder / "large", std::string(200000, 'x'));
    Write(folder / "disk" / "old", "old");
    EXPECT_FALSE(Copy(In("large"), In("disk/old")).ok());
    EXPECT_FALSE(Copy(In("large"), In("disk/new")).ok());
    EXPECT_FALSE(Rename(In("large"), In("disk/new")).ok());
    EXPECT_EQ(Read(folder / "disk" / "old"), "old");
    EXPECT_EQ(Count(folder / "disk"), 1);
    EXPECT_EQ(FileSize(In("large")), 200000u);
}

TEST_F(CopyFaults, RenamingToAnotherDiskMovesAFileWhole)
{
    const SmallDisk disk(folder / "disk");
    if (!disk.IsThere())
        GTEST_SKIP() << "only root may mount a small disk";
    Write(folder / "a", "bytes");
    ASSERT_EQ(::chmod((folder / "a").c_str(), 0640), 0);
    const auto written = fs::last_write_time(folder / "a") - std::chrono::hours(5);
    fs::last_write_time(folder / "a", written);
    Write(folder / "disk" / "taken", "taken");
    EXPECT_FALSE(Rename(In("a"), In("disk/taken")).ok());
    EXPECT_EQ(Read(folder / "disk" / "taken"), "taken");
    ASSERT_TRUE(Rename(In("a"), In("disk/a")).ok());
    EXPECT_FALSE(Exists(In("a")));
    EXPECT_EQ(Read(folder / "disk" / "a"), "bytes");
    EXPECT_EQ(fs::last_write_time(folder / "disk" / "a"), written);
    EXPECT_EQ(fs::status(folder / "disk" / "a").permissions(), fs::perms(0640));
    fs::create_directory(folder / "dir"); // a folder stays on its disk, as on Windows
    EXPECT_FALSE(Rename(In("dir"), In("disk/dir")).ok());
    EXPECT_EQ(Count(folder / "disk"), 2);
}

TEST_F(CopyFaults, CopyGoesThroughALinkToItsFileAndNotOntoItself)
{
    Write(folder / "a", "a");
    Write(folder / "b", "b");
    fs::create_symlink("a", folder / "toA");
    fs::create_hard_link(folder / "a", folder / "alsoA");
    EXPECT_FALSE(Copy(In("a"), In("toA")).ok());
    EXPECT_FALSE(Copy(In("a"), In("alsoA")).ok());
    EXPECT_EQ(Read(folder / "a"), "a");
    ASSERT_TRUE(Copy(In("b"), In("toA")).ok());
    EXPECT_TRUE(fs::is_symlink(folder / "toA"));
    EXPECT_EQ(Read(folder / "a"), "b");
}

/// As the platform's copy does: owner and permissions of a file that is there, and its other names.
TEST_F(CopyFaults, AReplacedFileKeepsItsOwnerPermissionsAndNames)
{
    if (::geteuid() != 0)
        GTEST_SKIP() << "only root may give a file away";
    Write(folder / "a", "new");
    for (const bool linked : {false, true})
    {
        Write(folder / "b", "the old one");
        ASSERT_EQ(::chown((folder / "b").c_str(), 4711, 4712), 0);
        ASSERT_EQ(::chmod((folder / "b").c_str(), 0620), 0);
        if (linked)
            fs::create_hard_link(folder / "b", folder / "also b");
        ASSERT_TRUE(Copy(In("a"), In("b")).ok());
        struct stat about;
        ASSERT_EQ(::stat((folder / (linked ? "also b" : "b")).c_str(), &about), 0);
        EXPECT_EQ(Read(folder / (linked ? "also b" : "b")), "new");
        EXPECT_EQ(about.st_uid + about.st_gid + about.st_mode, 4711u + 4712 + S_IFREG + 0620);
        EXPECT_EQ(fs::last_write_time(folder / "b"), fs::last_write_time(folder / "a"));
    }
    // An owner who cannot be kept by a new file is kept by writing into the old one.
    ASSERT_EQ(::chmod((folder / "b").c_str(), 0666), 0);
    fs::remove(folder / "also b");
    EXPECT_EQ(support::InChild([&] {
                  support::BecomeOrdinary();
                  return Copy(In("a"), In("b")).ok();
              }),
              0);
    struct stat about;
    ASSERT_EQ(::stat((folder / "b").c_str(), &about), 0);
    EXPECT_EQ(about.st_uid, 4711u);
}

TEST_F(CopyFaults, ACopyKeepsTheHolesOfALargeFile)
{
    const std::uint64_t size = (std::uint64_t{5} << 30) + 7;
    Write(folder / "a", "begin");
    std::error_code error;
    fs::resize_file(folder / "a", size, error);
    if (error)
        GTEST_SKIP() << "no file of 5 GiB here: " << error.message();
    std::fstream(folder / "a", std::ios::in | std::ios::out | std::ios::binary)
        .seekp(std::streamoff{4'500'000'000})
        .write("middle", 6);
    ASSERT_TRUE(Copy(In("a"), In("b")).ok());
    EXPECT_EQ(FileSize(In("b")), size);
    struct stat about;
    ASSERT_EQ(::stat((folder / "b").c_str(), &about), 0);
    EXPECT_LT(about.st_blocks, 1000); // of 512 bytes
    const InputStream stream = MakeFileInputStream(In("b"));
    std::string read(8, '?');
    unsigned long got = 0;
    stream->Seek(4'499'999'999);
    ASSERT_TRUE(stream->Read(read.data(), 8, got).ok());
    EXPECT_EQ(read, std::string("\0middle\0", 8));
}
