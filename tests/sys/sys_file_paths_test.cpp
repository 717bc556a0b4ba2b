#include "foundation/KviError.h"
#include "sys/sys_file.h"
#include "sys/sys_file_folder.h"

using namespace sys::file;
using Paths = sys_test::FolderTest;

TEST(AbsolutePath, IsFreeOfDots)
{
    const std::pair<const wchar_t*, const wchar_t*> rows[] = {
        {L"C:\\a\\.\\b\\..\\c", L"C:\\a\\c"},
        {L"C:\\..\\a\\", L"C:\\a\\"},
        {L"C:/a//b", L"C:\\a\\b"},
        {L"\\\\server\\share\\a\\..\\..\\b", L"\\\\server\\share\\b"},
        {L"//?/unc/server/share/../../b", L"\\\\?\\unc\\server\\share\\b"},
        {L"\\\\?\\C:\\..\\a", L"\\\\?\\C:\\a"},
        {L"Q:", L"Q:\\"},
        {L"", L""},
    };
    for (const auto& [path, absolute] : rows)
        EXPECT_EQ(GetAbsolutePath(path), absolute);
    const std::wstring here = GetCurrentDirectory();
    EXPECT_EQ(GetAbsolutePath(L"."), here);
    EXPECT_EQ(GetAbsolutePath(L"a\\..\\b.x"), here + L"\\b.x");
}

TEST(RelativePath, LeadsFromTheFolderToTheFile)
{
    const struct
    {
        const wchar_t *path, *base, *relative;
    } rows[] = {
        {L"C:\\a\\b.x", L"C:\\a", L"b.x"},
        {L"C:\\a\\b.x", L"C:\\a\\", L"b.x"},
        {L"c:\\a\\b.x", L"C:\\d\\e", L"..\\..\\a\\b.x"},
        {L"C:\\a", L"C:\\a\\b", L".."},
        {L"C:\\a", L"C:\\a", L"."},
        {L"C:\\ab", L"C:\\a", L"..\\ab"},
        {L"C:\\", L"C:\\a\\b", L"..\\.."},
        {L"C:\\a\\b\\", L"C:\\a", L"b\\"},
        {L"D:\\a", L"C:\\a", L"D:\\a"},
        {L"\\\\s\\share\\a", L"\\\\S\\Share\\b", L"..\\a"},
        {L"\\\\s\\one\\a", L"\\\\s\\two\\a", L"\\\\s\\one\\a"},
        {L"\\\\s\\one\\a", L"C:\\a", L"\\\\s\\one\\a"},
    };
    for (const auto& row : rows)
    {
        SCOPED_TRACE(testing::Message() << row.path << L" from " << row.base);
        EXPECT_EQ(GetRelativePath(row.path, row.base), row.relative);
        std::wstring resolved;
        ASSERT_TRUE(ResolveRelativePath(resolved, row.relative, row.base).ok());
        EXPECT_EQ(str::compare_ignore_case(resolved, row.path), 0);
    }
}

TEST(RelativePath, ResolvesRootsByThoseOfTheFolder)
{
    const struct
    {
        const wchar_t *path, *base, *resolved;
    } rows[] = {
        {L"\\x", L"C:\\a\\b", L"C:\\x"},   {L"\\x", L"\\\\s\\share\\b", L"\\\\s\\share\\x"},
        {L"c:x", L"C:\\a", L"C:\\a\\x"},   {L"D:\\x\\..\\y", L"C:\\a", L"D:\\y"},
        {L"..\\..", L"C:\\a\\b", L"C:\\"},
    };
    for (const auto& row : rows)
    {
        std::wstring resolved;
        ASSERT_TRUE(ResolveRelativePath(resolved, row.path, row.base).ok()) << row.path;
        EXPECT_EQ(resolved, row.resolved);
    }
    std::wstring untouched = L"old";
    EXPECT_FALSE(ResolveRelativePath(untouched, L"..\\..\\..\\x", L"C:\\a\\b").ok());
    EXPECT_FALSE(ResolveRelativePath(untouched, L"", L"C:\\a").ok());
    EXPECT_FALSE(ResolveRelativePath(untouched, std::wstring(L"a\0b", 3), L"C:\\a").ok());
    EXPECT_EQ(untouched, L"old");
}

TEST_F(Paths, FindsAFileInTheFirstFolderThatHasIt)
{
    fs::create_directories(folder / "one" / "a.txt"); // a folder is no file
    fs::create_directories(folder / "two");
    sys_test::Write(folder / "two" / "a.txt", "");
    std::wstring found = L"old";
    const std::wstring folders = In("none") + L";" + In("one") + L";" + In("two");
    EXPECT_FALSE(Find(found, folders, L"b", L".txt").ok());
    EXPECT_EQ(found, L"old");
    ASSERT_TRUE(Find(found, folders, L"a", L".txt").ok());
    EXPECT_EQ(found, In("two\\a.txt"));
    EXPECT_TRUE(Find(found, folders, L"a.txt", L".doc").ok()); // has its extension
    EXPECT_TRUE(Find(found, L"", In("two\\a"), L".txt").ok());
}

TEST_F(Paths, TheCurrentFolderIsWhereRelativePathsBegin)
{
    const std::wstring before = GetCurrentDirectory();
    ASSERT_TRUE(SetCurrentDirectory(In("")).ok());
    sys_test::Write(folder / "here", "abc");
    EXPECT_EQ(FileSize(L"here"), 3u);
    ASSERT_TRUE(SetCurrentDirectory(before).ok());
    EXPECT_FALSE(Exists(L"here"));
    const gtl::status missing = SetCurrentDirectory(In("none"));
    EXPECT_EQ(missing, KviError::File::file_not_found(In("none")));
}

/// The root has a separator at its end, other folders have none.
TEST_F(Paths, TheRootIsACurrentFolderLikeAnyOther)
{
    const std::wstring before = GetCurrentDirectory();
    const std::wstring root = before.substr(0, before[0] == L'\\' ? 1 : 3);
    ASSERT_TRUE(SetCurrentDirectory(root).ok());
    const std::wstring absolute = GetAbsolutePath(L"x"), relative = GetRelativePath(L"x\\y", L"x"),
                       fromHere = GetRelativePath(before, L"");
    std::wstring resolved, found;
    const bool resolves = ResolveRelativePath(resolved, L"x", L".").ok();
    const bool finds = Find(found, L";" + root, In("file").substr(root.size()), L".x").ok();
    const gtl::status missing = DeleteDirectory(L"x missing", 1);
    ASSERT_TRUE(SetCurrentDirectory(before).ok());
    EXPECT_EQ(absolute, root + L"x");
    EXPECT_EQ(relative, L"y");
    EXPECT_EQ(fromHere, before.substr(root.size()));
    EXPECT_TRUE(resolves && resolved == root + L"x");
    EXPECT_FALSE(finds);
    EXPECT_NE(missing, KviError::File::invalid_path(L"x missing")) << "it is no root";
}

TEST(KnownFolder, HasAPathByEveryKindOfNumber)
{
    struct Guid // laid out as Windows' own
    {
        unsigned one;
        unsigned short two, three;
        unsigned char four[8];
    };
    const Guid documents = {
        0xfdd39ad0, 0x238f, 0x46af, {0xad, 0xb4, 0x6c, 0x85, 0x48, 0x03, 0x69, 0xc7}};
    const std::wstring path = GetKnownFolderPath(documents);
    EXPECT_EQ(path, GetKnownFolderPath(kDocumentsFolder));
    EXPECT_EQ(path, GetAbsolutePath(path));
    EXPECT_FALSE(path.empty());
    EXPECT_EQ(GetKnownFolderPath(Guid{}), L"");
}
