// Copies, renames and deletions that are killed or fail at any of their system calls.

#include "fault/posix/tests_fault_disturb.h"
#include "sys/sys_file.h"

#include <cerrno>

using namespace sys::file;
using fault_test::Outcome;
using sys_test::Count;
using sys_test::Read;
using sys_test::Write;

namespace
{
class Disturbed : public fault_test::InMemory<sys_test::FolderTest>
{
protected:
    void SetUp() override
    {
        FolderTest::SetUp();
        fs::remove_all(disk);
        fs::create_directories(disk);
    }
    void TearDown() override
    {
        fs::remove_all(disk);
        InMemory::TearDown();
    }

    /// Kills and fails @p work, which creates target from @p source: the target is then complete or
    /// unchanged, and at most @p most files of killed processes are left.
    template <class Work>
    void ExpectWhole(const fs::path& source, bool replaces, bool moves, int most, Work work,
                     bool syncsLast = false)
    {
        int litter = 0;
        for (const int error : {0, EIO})
        {
            int done = 0;
            const int calls = fault_test::DisturbAtEachCall(
                error,
                [&] {
                    fs::remove_all(folder);
                    fs::create_directory(folder);
                    Write(source, bytes);
                    if (replaces)
                        Write(folder / "target", "old");
                },
                work,
                [&](const Outcome& outcome) {
                    const bool there = fs::exists(folder / "target");
                    const bool whole = there && Read(folder / "target") == bytes;
                    const bool before =
                        replaces ? there && Read(folder / "target") == "old" : !there;
                    EXPECT_TRUE(whole || before);
                    EXPECT_TRUE(Read(source) == bytes || (whole && moves));
                    EXPECT_TRUE(whole || outcome.result != 0);
                    EXPECT_TRUE(error == 0 || syncsLast || (outcome.result == 0) == whole);
                    litter += int(Count(folder) + Count(disk)) - there - fs::exists(source);
                    done += whole ? 1 : 0;
                });
            if (calls == 0)
                GTEST_SKIP() << "processes may not be watched here";
            if (fault_test::kStep == 1)
            {
                EXPECT_GE(calls, 8);
                EXPECT_GT(done, 0);
            }
            RecordProperty("calls" + std::to_string(error), calls);
        }
        EXPECT_LE(litter, most);
    }

    const std::string bytes = std::string(20000, 'n');
    const fs::path disk = fs::absolute(fs::path(KVI_TEST_TEMP) / "disturbed"); // another one
};
} // namespace

TEST_F(Disturbed, ACopyAppearsWholeOrNotAtAll)
{
    const auto copy = [&] { return Copy(In("source"), In("target")).ok(); };
    ExpectWhole(folder / "source", false, false, 0, copy);
    ExpectWhole(folder / "source", true, false, 2, copy); // killed while it has its hidden name
}

TEST_F(Disturbed, AFileIsMovedToAnotherDiskWholeOrNotAtAll)
{
    ExpectWhole(disk / "source", false, true, 0,
                [&] { return Rename(sys_test::Wide(disk / "source"), In("target")).ok(); });
}

TEST_F(Disturbed, ASafeWriterWritesAWholeFileOrNone)
{
    const auto write = [&] { return WriteTextFile(In("target"), std::wstring(20000, L'n')).ok(); };
    for (const bool replaces : {false, true})
        ExpectWhole(folder / "source", replaces, false, replaces ? 2 : 0, write, true);
}

TEST_F(Disturbed, ADeletionReportsWhatItLeaves)
{
    const auto make = [&] {
        fs::remove_all(folder);
        fs::create_directories(folder / "tree" / "a" / "b");
        fs::create_directories(folder / "tree" / "c");
        for (const char* name : {"f", "a/g", "a/b/h"})
            Write(folder / "tree" / name, "");
        Write(folder / "beside", "");
    };
    for (const int error : {0, EIO})
    {
        fault_test::DisturbAtEachCall(
            error, make, [&] { return DeleteDirectory(In("tree"), 1).ok(); },
            [&](const Outcome& outcome) {
                EXPECT_TRUE(outcome.result != 0 || !fs::exists(folder / "tree"));
                EXPECT_TRUE(fs::exists(folder / "beside"));
                EXPECT_TRUE(!fs::exists(folder / "tree") || DeleteDirectory(In("tree"), 1).ok());
            });
    }
}
