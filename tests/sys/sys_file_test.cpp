#include "foundation/KviError.h"
#include "sys/sys_file.h"
#include "sys/sys_file_SafeWriter.h"
#include "sys/sys_file_folder.h"

#include <chrono>
#include <vector>

using namespace sys::file;
using sys_test::Count;
using sys_test::Read;
using sys_test::Write;

namespace
{
class Files : public sys_test::FolderTest
{
};

const std::wstring kZero(L"a\0b", 3);

/// @p status is the error that @p like is, about the same path, and says more.
void ExpectLike(const gtl::status& status, const gtl::status& like)
{
    ASSERT_FALSE(status.ok());
    EXPECT_EQ(status.details()->message_template(), like.details()->message_template());
    EXPECT_EQ(status.details()->argument(1), like.details()->argument(1));
    EXPECT_FALSE(status.details()->argument(2).empty());
}
} // namespace

TEST_F(Files, CopyTakesBytesTimeAndPermissionAlong)
{
    Write(folder / "from", std::string(300000, 'x'));
    const auto long_ago = fs::last_write_time(folder / "from") - std::chrono::hours(1000);
    fs::last_write_time(folder / "from", long_ago);
    ASSERT_TRUE(SetReadOnly(In("from"), true).ok());
    Write(folder / "to", "old");
    ASSERT_TRUE(Copy(In("from"), In("to")).ok());
    EXPECT_EQ(FileSize(In("to")), 300000u);
    EXPECT_EQ(fs::last_write_time(folder / "to"), long_ago);
    EXPECT_TRUE(IsReadOnly(In("to")));
    EXPECT_EQ(Copy(In("from"), In("to")), KviError::File::save_over_readonly(In("to")));
    EXPECT_EQ(Count(folder), 2);
    EXPECT_TRUE(SetReadOnly(In("from"), false).ok());
    EXPECT_TRUE(SetReadOnly(In("to"), false).ok());
    EXPECT_FALSE(IsReadOnly(In("to")));
}

TEST_F(Files, CopyThatFailsLeavesBothSides)
{
    Write(folder / "a", "a");
    fs::create_directory(folder / "dir");
    const std::pair<const char*, const char*> rows[] = {
        {"none", "a"}, {"a", "a"}, {"a", "dir"}, {"dir", "a"}, {"a", "none\\b"}};
    for (const auto& [from, to] : rows)
    {
        SCOPED_TRACE(testing::Message() << from << " to " << to);
        ExpectLike(Copy(In(from), In(to)), KviError::File::copy(In(from), In(to), L""));
        EXPECT_EQ(Read(folder / "a"), "a");
        EXPECT_EQ(Count(folder), 2);
    }
    EXPECT_EQ(Copy(In("a"), L""), KviError::File::invalid_path(L""));
    EXPECT_EQ(Copy(kZero, In("b")), KviError::File::invalid_path(kZero));
}

TEST_F(Files, RenameNeverReplaces)
{
    Write(folder / "a", "a");
    Write(folder / "b", "b");
    fs::create_directories(folder / "dir" / "in");
    ExpectLike(Rename(In("a"), In("b")), KviError::File::rename(In("a"), In("b"), L""));
    ExpectLike(Rename(In("dir"), In("b")), KviError::File::rename(In("dir"), In("b"), L""));
    ExpectLike(Rename(In("none"), In("c")), KviError::File::rename(In("none"), In("c"), L""));
    EXPECT_EQ(Read(folder / "a") + Read(folder / "b"), "ab");
    EXPECT_TRUE(Rename(In("a"), In("a")).ok());
    EXPECT_TRUE(Rename(In("a"), In("c")).ok());
    EXPECT_EQ(Read(folder / "c"), "a");
    EXPECT_TRUE(Rename(In("dir\\"), In("folder")).ok());
    EXPECT_TRUE(Exists(In("folder\\in")));
    EXPECT_FALSE(Exists(In("a")));
}

TEST_F(Files, DeleteFilesChoosesByFilterAndDepth)
{
    fs::create_directories(folder / "sub" / "deep");
    for (const char* name : {"a.txt", "b.log", "sub/c.txt", "sub/deep/d.TXT"})
        Write(folder / name, "");
    const Finder::ExtensionFilter text(L".txt");
    EXPECT_TRUE(DeleteFiles(In(""), text, 0).ok());
    EXPECT_FALSE(Exists(In("a.txt")));
    EXPECT_TRUE(Exists(In("sub\\c.txt")));
    EXPECT_TRUE(DeleteFiles(In(""), text, 1).ok());
    EXPECT_EQ(Count(folder / "sub" / "deep"), 0);
    EXPECT_TRUE(Exists(In("b.log")));
    EXPECT_TRUE(DeleteFiles(In(""), 1).ok());
    EXPECT_EQ(Count(folder), 1);
    ExpectLike(DeleteFiles(In("none"), 0), KviError::File::del(In("none"), L""));
}

TEST_F(Files, DeleteDirectoryTakesATreeOnlyWhenAsked)
{
    fs::create_directories(folder / "tree" / "sub");
    Write(folder / "tree" / "sub" / "file", "");
    ExpectLike(DeleteDirectory(In("tree"), 0), KviError::File::del(In("tree"), L""));
    EXPECT_TRUE(Exists(In("tree\\sub\\file")));
    EXPECT_TRUE(DeleteDirectory(In("tree\\"), 1).ok());
    EXPECT_FALSE(Exists(In("tree")));
    for (const std::wstring& refused : {std::wstring(), kZero})
        EXPECT_EQ(DeleteDirectory(refused, 1), KviError::File::invalid_path(refused));
    for (const wchar_t* root : {L"\\", L"C:\\a\\..", L"\\\\server\\share"})
        EXPECT_EQ(DeleteDirectory(root, 0), KviError::File::invalid_path(root));
}

TEST_F(Files, DeletingContinuesAfterWhatMayNotBeDeletedAndReportsIt)
{
    for (const char* name : {"a", "b", "c"})
        Write(folder / name, "");
    ASSERT_TRUE(SetReadOnly(In("b"), true).ok());
    ExpectLike(DeleteFiles(In("") + L"\\", 0), KviError::File::del(In("b"), L""));
    EXPECT_EQ(Count(folder), 1);
    EXPECT_TRUE(SetReadOnly(In("b"), false).ok());
    EXPECT_TRUE(DeleteFiles(In(""), 0).ok());
    EXPECT_EQ(Count(folder), 0);
}

TEST_F(Files, CreateDirectoryMakesTheFoldersAbove)
{
    EXPECT_TRUE(CreateDirectory(In("a\\b\\c\\")).ok());
    EXPECT_TRUE(CreateDirectory(In("a\\b/c")).ok());
    EXPECT_TRUE(Exists(In("a\\b\\c")));
    Write(folder / "file", "");
    ExpectLike(CreateDirectory(In("file")), KviError::File::create_dir(In("file"), L""));
    ExpectLike(CreateDirectory(In("file\\x")), KviError::File::create_dir(In("file\\x"), L""));
    std::wstring tooLong = In("");
    for (int i = 0; i < 300; ++i)
        tooLong += L"\\" + std::wstring(200, L'x');
    const gtl::status refused = CreateDirectory(tooLong);
    ASSERT_FALSE(refused.ok());
    EXPECT_EQ(refused.details()->argument(1), tooLong);
}

TEST_F(Files, QuestionsAboutNothingHaveAnswers)
{
    for (const std::wstring& path : {In("none"), std::wstring(), kZero})
    {
        Time time{7};
        EXPECT_FALSE(Exists(path));
        EXPECT_EQ(FileSize(path), 0u);
        EXPECT_FALSE(IsReadOnly(path));
        EXPECT_FALSE(GetLastWriteTime(time, path).ok());
        EXPECT_EQ(time.ticks, 7u);
        EXPECT_EQ(ReadTextFile(path), L"");
    }
    EXPECT_EQ(SetReadOnly(In("none"), true), KviError::File::file_not_found(In("none")));
    EXPECT_EQ(ShellOpen(SplitPath(In("none")), nullptr),
              KviError::File::file_not_found(In("none")));
    const gtl::status relative = ShellOpenRelative(L"none\\a.x", nullptr);
    ASSERT_FALSE(relative.ok());
    EXPECT_TRUE(relative.details()->argument(1).ends_with(L"\\bin\\none\\a.x")); // of the program
}

TEST_F(Files, TextComesInEveryCommonEncoding)
{
    using namespace std::string_view_literals;
    const std::pair<std::string_view, std::wstring> rows[] = {
        {"", L""},
        {"a\r\n\xC3\xA4", L"a\r\n\u00E4"},
        {"\xEF\xBB\xBF\xF0\x9F\x98\x80", L"\U0001F600"},
        {"a\xFFz", L"a\uFFFDz"},
        {"\xFF\xFE\x61\0\x3D\xD8\x00\xDE"sv, L"a\U0001F600"},
        {"\xFE\xFF\0\x61\xD8\x3D\xDE\x00"sv, L"a\U0001F600"},
        {"\xFF\xFE\x3D\xD8\x61\0\x62"sv, L"\uFFFDa\uFFFD"}, // lone surrogate, half a unit
    };
    for (const auto& [bytes, text] : rows)
    {
        Write(folder / "text", bytes);
        EXPECT_EQ(ReadTextFile(In("text")), text);
    }
    EXPECT_EQ(ReadTextFile(In("")), L""); // a folder
    Write(folder / "text", std::string((1 << 20) + 1, 'x'));
    EXPECT_EQ(ReadTextFile(In("text")).size(), (1u << 20) + 1);
}

TEST_F(Files, ASafeWriterReplacesWholeFilesOnly)
{
    EXPECT_TRUE(WriteTextFile(In("a"), L"\u00E4\n").ok());
    EXPECT_EQ(Read(folder / "a"), "\xC3\xA4\n");
    {
        SafeWriter writer;
        ASSERT_TRUE(writer.Open(In("a")).ok() && writer.Write("lost").ok());
        ASSERT_TRUE(writer.Open(In("b")).ok() && writer.Write("1").ok() && writer.Write("2").ok());
        EXPECT_FALSE(Exists(In("b")));
        EXPECT_TRUE(writer.Commit().ok());
        EXPECT_FALSE(writer.Commit().ok()) << "nothing is open";
        ASSERT_TRUE(writer.Open(In("c")).ok() && writer.Write("lost").ok());
    }
    EXPECT_EQ(Read(folder / "a") + Read(folder / "b"), "\xC3\xA4\n12");
    ASSERT_TRUE(SetReadOnly(In("a"), true).ok());
    fs::create_directory(folder / "dir");
    EXPECT_EQ(WriteTextFile(In("a"), L"x"), KviError::File::save_over_readonly(In("a")));
    EXPECT_EQ(WriteTextFile(kZero, L"x"), KviError::File::invalid_path(kZero));
    for (const char* target : {"dir", "none\\x", "dir\\"})
        ExpectLike(WriteTextFile(In(target), L"x"), KviError::File::write(In(target), L""));
    EXPECT_TRUE(SetReadOnly(In("a"), false).ok());
    std::ofstream(NativePath(In("\xC3\xA4")).c_str()) << "named";
    EXPECT_EQ(ReadTextFile(In("\xC3\xA4")), L"named");
    EXPECT_EQ(Count(folder), 4);
}

TEST_F(Files, TemporaryNamesAreEachTheirOwn)
{
    std::wstring temp, one, two;
    ASSERT_TRUE(GetTempDirectory(temp).ok());
    EXPECT_TRUE(temp.ends_with(L'\\'));
    ASSERT_TRUE(GetTempFilename(one, L"kvitest").ok());
    ASSERT_TRUE(GetTempFilename(two).ok());
    EXPECT_NE(one, two);
    EXPECT_TRUE(Exists(one));
    EXPECT_TRUE(SplitPath(one).fname.starts_with(L"kvitest"));
    EXPECT_EQ(str::compare_ignore_case(SplitPath(two).dir, GetAbsolutePath(temp)), 0);
    EXPECT_TRUE(fs::remove(sys_test::Native(one)));
    EXPECT_TRUE(fs::remove(sys_test::Native(two)));
    EXPECT_EQ(GetTempFilename(one, L"..\\x"), KviError::File::invalid_path(L"..\\x"));
}
