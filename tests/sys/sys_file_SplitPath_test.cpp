#include "sys/sys_file_FilePath.h"
#include "sys/sys_file_SplitPath.h"

#include <gtest/gtest.h>

using sys::file::FilePath;
using sys::file::SplitPath;

TEST(SplitPath, CutsAtTheLastSeparatorAndTheLastDotBehindIt)
{
    const struct
    {
        const wchar_t *path, *dir, *fname, *ext;
    } rows[] = {
        {L"C:\\dam\\steady.res", L"C:\\dam\\", L"steady", L".res"},
        {L"C:file.ext", L"C:", L"file", L".ext"},
        {L"dir.d\\name", L"dir.d\\", L"name", L""},
        {L"a.b.c", L"", L"a.b", L".c"},
        {L"\\x\\", L"\\x\\", L"", L""},
        {L".", L"", L"", L"."},
        {L"a/b.c", L"", L"a/b", L".c"},
        {L"", L"", L"", L""},
    };
    for (const auto& row : rows)
    {
        SCOPED_TRACE(testing::Message() << row.path);
        const SplitPath path(row.path);
        EXPECT_EQ(path.dir, row.dir);
        EXPECT_EQ(path.fname, row.fname);
        EXPECT_EQ(path.ext, row.ext);
        EXPECT_EQ(path.Path(), row.path);
    }
}

TEST(SplitPath, TakesAnotherNameInTheSameFolder)
{
    SplitPath path(L"C:\\dam\\steady.res");
    EXPECT_EQ(path.FNameExt(L"a\\b.c.d").ext, L".d"); // the last dot anywhere
    EXPECT_EQ(path.fname, L"a\\b.c");
    EXPECT_EQ(path.FNameExt(L"plain").Path(), L"C:\\dam\\plain");
    EXPECT_EQ(path.FNameExt(path.fname).Path(), L"C:\\dam\\plain");
}

TEST(SplitPath, ComparesPartByPartWithoutRegardToCase)
{
    EXPECT_EQ(SplitPath(L"C:\\\u00C4b\\X.Y").Compare(SplitPath(L"c:\\\u00E4B\\x.y")), 0);
    EXPECT_LT(SplitPath(L"a\\z.a").Compare(SplitPath(L"b\\a.a")), 0);
    EXPECT_GT(SplitPath(L"a\\z.b").Compare(SplitPath(L"A\\z.a")), 0);
}

TEST(SplitPath, IsValidOnlyWithEachCharacterInItsPlace)
{
    const std::pair<SplitPath, bool> rows[] = {
        {SplitPath(), true},
        {{L"C:\\a\\", L"*", L".?"}, true},
        {{L"C:/a\\", L"", L""}, false},
        {{L"C:\\a", L"", L""}, false},
        {{L"C:\\a \\", L"", L""}, false},
        {{L" \\", L"", L""}, false},
        {{L"\\", L"a|b", L""}, false},
        {{L"\\", L"a:b", L""}, false},
        {{L"\\", L"a ", L".t"}, false},
        {{L"\\", L"a", L"t"}, false},
        {{L"\\", L"a", L".t.x"}, false},
        {{L"\\", L"a", L".t "}, false},
    };
    for (const auto& [path, valid] : rows)
        EXPECT_EQ(path.IsValid(), valid) << path.Path().c_str();
}

TEST(SplitPath, JoinsFoldersWithOneBackslash)
{
    struct Joined : SplitPath
    {
        using SplitPath::ConcatenateDir;
    };
    EXPECT_EQ(Joined::ConcatenateDir(L"a\\\\", L"\\b"), L"a\\b");
    EXPECT_EQ(Joined::ConcatenateDir(L"a\\", L""), L"a\\");
    EXPECT_EQ(Joined::ConcatenateDir(L"", L"b"), L"\\b");
}

TEST(FilePath, ReadsBackWhatItWrites)
{
    const FilePath paths[] = {
        {L"C:\\a&b.x", L"b.x"}, {L"C:\\a;b", L""}, {L"", L"&&"}, {L"", L""}, {L"a", L"..\\; &"}};
    for (const FilePath& path : paths)
    {
        FilePath read(L"old", L"old");
        EXPECT_TRUE(read.SetDelimPath(path.FullPath()).ok()) << path.FullPath().c_str();
        EXPECT_EQ(read, path);
    }
    EXPECT_EQ(paths[0].FullPath(), L"\"C:\\a&&b.x\";\"b.x\"");
    EXPECT_EQ(FilePath().FullPath(), L";");
}

TEST(FilePath, TakesPlainTextAsTheAbsolutePath)
{
    EXPECT_EQ(FilePath(L"x"), FilePath(L"x", L""));
    EXPECT_EQ(FilePath(L"\"x\";y"), FilePath(L"x", L"y"));
    EXPECT_EQ(FilePath(L"&;;y&"), FilePath(L";", L"y"));
}

TEST(FilePath, IsEmptyAfterTextThatHasNotTwoFields)
{
    for (const std::wstring text : {L"x", L"", L"a;b;c", L"\"a;b"})
    {
        FilePath path(L"old", L"old");
        const gtl::status status = path.SetDelimPath(text);
        ASSERT_FALSE(status.ok());
        EXPECT_EQ(status.details()->argument(1), text);
        EXPECT_TRUE(path.IsEmpty());
    }
}
