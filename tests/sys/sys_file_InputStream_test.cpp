#include "foundation/KviError.h"
#include "sys/sys_file.h"
#include "sys/sys_file_InputStream.h"
#include "sys/sys_file_folder.h"

#include <random>

using namespace sys::file;
using Streams = sys_test::FolderTest;

namespace
{
std::string ReadAll(IInputStream& stream, unsigned long piece)
{
    std::string bytes, buffer(piece, '\0');
    for (unsigned long got = 1; got > 0;)
    {
        EXPECT_TRUE(stream.Read(buffer.data(), piece, got).ok());
        bytes.append(buffer, 0, got);
    }
    return bytes;
}
} // namespace

TEST_F(Streams, GiveTheSameBytesFromFileAndMemoryInAnyPieces)
{
    std::string bytes(200000, '\0');
    std::mt19937 random(1);
    for (char& byte : bytes)
        byte = static_cast<char>(random());
    sys_test::Write(folder / "bytes", bytes);
    const InputStream streams[] = {
        MakeFileInputStream(In("bytes")), MakeSharedFileInputStream(In("bytes")),
        MakeMemoryInputStream(L"buffer", bytes.data(), static_cast<unsigned long>(bytes.size()))};
    for (const InputStream& stream : streams)
    {
        ASSERT_TRUE(stream->State().ok());
        std::uint64_t size = 0;
        ASSERT_TRUE(stream->Size(size).ok());
        EXPECT_EQ(size, bytes.size());
        for (const unsigned long piece : {7ul, 65536ul, 300000ul})
        {
            stream->Seek(0);
            EXPECT_TRUE(ReadAll(*stream, piece) == bytes) << piece;
        }
        char byte = 0;
        unsigned long got = 0;
        stream->Seek(100000);
        ASSERT_TRUE(stream->Read(&byte, 1, got).ok());
        EXPECT_EQ(byte, bytes[100000]);
        EXPECT_EQ(stream->Position(), 100001u);
        stream->Seek(200001);
        EXPECT_EQ(ReadAll(*stream, 10), "");
    }
    EXPECT_EQ(streams[2]->Name(), L"buffer");
}

TEST_F(Streams, HandlesShareOneStream)
{
    InputStream first = MakeMemoryInputStream(L"", "abc", 3), none;
    {
        InputStream second = first;
        char letter = 0;
        unsigned long got = 0;
        EXPECT_TRUE(second->Read(&letter, 1, got).ok());
        second = second; // NOLINT: itself
    }
    EXPECT_EQ(first->Position(), 1u);
    none = std::move(first);
    EXPECT_FALSE(first); // NOLINT(bugprone-use-after-move): moved-from handles are empty
    EXPECT_EQ(ReadAll(*none, 8), "bc");
}

TEST_F(Streams, ReadAFileThatIsStillWrittenOnlyWhenShared)
{
    std::ofstream writer(folder / "log", std::ios::binary);
    writer << "first " << std::flush;
    const InputStream shared = MakeSharedFileInputStream(In("log"));
    ASSERT_TRUE(shared->State().ok());
    EXPECT_EQ(ReadAll(*shared, 100), "first ");
    writer << "second" << std::flush;
    EXPECT_EQ(ReadAll(*shared, 100), "second");
    // Linux keeps nobody from it.
    EXPECT_EQ(MakeFileInputStream(In("log"))->State().ok(), !sys_test::kWindows);
}

TEST_F(Streams, ReportWhyTheyCouldNotBeOpened)
{
    unsigned long got = 9;
    char byte = 0;
    const InputStream missing = MakeFileInputStream(In("none"));
    EXPECT_EQ(missing->State(), KviError::File::file_not_found(In("none")));
    EXPECT_EQ(missing->Read(&byte, 1, got), missing->State());
    EXPECT_EQ(got, 0u);
    EXPECT_EQ(MakeFileInputStream(L"")->State(), KviError::File::invalid_path(L""));
    EXPECT_FALSE(MakeFileInputStream(In(""))->State().ok()); // a folder
}

TEST_F(Streams, ReachBeyondFourGigabytes)
{
    const std::uint64_t far = (std::uint64_t{1} << 32) + 10;
    sys_test::Write(folder / "big", "");
    std::error_code error;
    fs::resize_file(folder / "big", far, error); // takes no space where holes are known
    if (error)
        GTEST_SKIP() << "no room for a file of 4 GiB: " << error.message();
    EXPECT_EQ(FileSize(In("big")), far);
    Finder finder{Finder::FilterNone()};
    ASSERT_TRUE(finder.FindFile(In("big")));
    EXPECT_EQ(finder.CurrentFileSize(), far);
    {
        std::fstream file(folder / "big", std::ios::in | std::ios::out | std::ios::binary);
        file.seekp(static_cast<std::streamoff>(far - 3));
        file << "end";
    }
    const InputStream stream = MakeFileInputStream(In("big"));
    stream->Seek(far - 3);
    EXPECT_EQ(ReadAll(*stream, 100), "end");
    EXPECT_EQ(stream->Position(), far);
}
