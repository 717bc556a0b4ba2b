#include "sys/sys_file.h"
#include "sys/sys_file_Finder.h"
#include "sys/sys_file_folder.h"

#include <set>
#include <vector>

using sys::file::Finder;

namespace
{
/// The extension ".log", as a filter of its own.
struct LogFilter : Finder::Filter
{
    bool Match(const std::wstring& ext) const override { return ext == L".log"; }
};

class FinderTest : public sys_test::FolderTest
{
protected:
    void SetUp() override
    {
        FolderTest::SetUp();
        for (const char* name : {"a.txt", "B.TXT", "c.log", "plain"})
            sys_test::Write(folder / name, name);
        for (const char* name : {"sub", "sub.d"})
            fs::create_directory(folder / name);
    }

    /// Names of everything that a pattern finds; folders in brackets.
    std::set<std::wstring> Found(const wchar_t* pattern,
                                 const Finder::Filter& filter = Finder::FilterNone())
    {
        std::set<std::wstring> names;
        Finder finder(filter);
        for (bool more = finder.FindFile(In("") + pattern); more; more = finder.FindNextFile())
        {
            const std::wstring path = finder.Current().Path().substr(In("").size());
            names.insert(finder.IsDirectory() ? L"[" + path + L"]" : path);
        }
        EXPECT_EQ(finder.Current().Path(), L"");
        return names;
    }
};

using Names = std::set<std::wstring>;
} // namespace

TEST_F(FinderTest, FindsFilesOrFoldersOrBothByThePattern)
{
    EXPECT_EQ(Found(L"*"),
              (Names{L"a.txt", L"B.TXT", L"c.log", L"plain", L"[sub\\]", L"[sub.d\\]"}));
    EXPECT_EQ(Found(L"*.*"), (Names{L"a.txt", L"B.TXT", L"c.log", L"plain"}));
    EXPECT_EQ(Found(L"*\\"), (Names{L"[sub\\]", L"[sub.d\\]"}));
    EXPECT_EQ(Found(L"*.txt"), (Names{L"a.txt", L"B.TXT"}));
    EXPECT_EQ(Found(L"?.LOG"), Names{L"c.log"});
    EXPECT_EQ(Found(L"s*"), (Names{L"[sub\\]", L"[sub.d\\]"}));
    EXPECT_EQ(Found(L"a.txt"), Names{L"a.txt"});
    EXPECT_EQ(Found(L"sub"), Names{L"[sub\\]"});
    EXPECT_EQ(Found(L"sub.d\\"), Names{L"[sub.d\\]"});
    for (const wchar_t* nothing : {L"x*", L"none\\*", L"a.txt\\", L".", L".."})
        EXPECT_EQ(Found(nothing), Names{}) << nothing;
}

TEST_F(FinderTest, OffersFilesToItsFilterButNotFolders)
{
    EXPECT_EQ(Found(L"*", Finder::ExtensionFilter(L".Txt")),
              (Names{L"a.txt", L"B.TXT", L"[sub\\]", L"[sub.d\\]"}));
    EXPECT_EQ(Found(L"*.*", LogFilter()), Names{L"c.log"});
    EXPECT_EQ(Found(L"*.*", Finder::ExtensionFilter(L"")), Names{L"plain"});
}

TEST_F(FinderTest, HasSizeAndTimesOfTheEntry)
{
    Finder finder{LogFilter()};
    ASSERT_TRUE(finder.FindFile(In("*.*")));
    EXPECT_EQ(finder.Current().fname, L"c");
    EXPECT_EQ(finder.CurrentFileSize(), 5u);
    sys::file::Time written;
    ASSERT_TRUE(sys::file::GetLastWriteTime(written, In("c.log")).ok());
    EXPECT_EQ(finder.CurrentLastWriteTime(), written);
    EXPECT_GT(str::as_cstring(written, "%Y"), "2020");
    EXPECT_LE(finder.CurrentCreationTime(), finder.CurrentLastWriteTime());
    EXPECT_NE(finder.CurrentLastAccessTime().ticks, 0u);
    EXPECT_FALSE(finder.FindNextFile());
    EXPECT_EQ(finder.CurrentFileSize(), 0u);
    EXPECT_EQ(str::as_cstring(finder.CurrentLastWriteTime(), "%Y"), "");
}

TEST(FileTime, IsWrittenAsTheFormatSays)
{
    // 2001-02-03 04:05:06 of the machine's zone, counted from noon of that day in UTC.
    const sys::file::Time noon{(146130ull * 86400 + 43200) * 10'000'000};
    const std::string text = str::as_cstring(noon, "%Y|%%|%q|%j|%a %b|%");
    EXPECT_EQ(text, "2001|%|%q|034|Sat Feb|%");
    EXPECT_EQ(str::as_cstring(noon, nullptr), str::as_cstring(noon, "%Y-%m-%d %H:%M:%S"));
    EXPECT_EQ(str::as_cstring(noon, "%T"), str::as_cstring(noon, "%H:%M:%S"));
}
