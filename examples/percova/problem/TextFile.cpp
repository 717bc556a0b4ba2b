#include "problem/TextFile.h"

#include "KVI.h"

#include <algorithm>
#include <exception>
#include <filesystem>
#include <random>
#include <streambuf>
#include <type_traits>
#include <utility>
#include <vector>

namespace percova
{

std::string ReasonOf(const gtl::status& failed, int argument)
{
    std::wstring text(failed.details()->argument(argument));
    if (text.empty())
        text = failed.as_wstring();
    text.erase(text.find_last_not_of(L" \r\n") + 1); // texts of Windows end with a line break
    return str::as_u8string(text).bytes();
}

namespace
{

constexpr bool kHasDrives = std::is_same_v<sys::file::NativeString, std::wstring>;

/// Why a file could not be opened.
std::string WhyNotOpened(const std::wstring& path, const gtl::status& failed)
{
    std::error_code ignored;
    const auto found = std::filesystem::status(sys::file::NativePath(path), ignored);
    if (std::filesystem::is_directory(found))
        return "cannot be read: it is a folder";
    if (std::filesystem::exists(found) && !std::filesystem::is_regular_file(found))
        return "cannot be read: it is no regular file";
    return "cannot be opened: " + ReasonOf(failed);
}

/// Hands what a stream is given to a SafeWriter.
class WriterBuffer : public std::streambuf
{
public:
    explicit WriterBuffer(sys::file::SafeWriter& writer) : writer_(writer), bytes_(65536)
    {
        setp(bytes_.data(), bytes_.data() + bytes_.size());
    }
    const gtl::status& Failed() const { return failed_; }

private:
    int sync() override
    {
        const std::size_t size = static_cast<std::size_t>(pptr() - pbase());
        setp(bytes_.data(), bytes_.data() + bytes_.size());
        if (failed_.ok())
            failed_ = writer_.Write({bytes_.data(), size});
        return failed_.ok() ? 0 : -1;
    }
    int_type overflow(int_type c) override
    {
        if (sync() != 0)
            return traits_type::eof();
        return traits_type::eq_int_type(c, traits_type::eof())
                   ? traits_type::not_eof(c)
                   : sputc(traits_type::to_char_type(c));
    }

    sys::file::SafeWriter& writer_;
    std::vector<char> bytes_;
    gtl::status failed_;
};

} // namespace

std::wstring PathOf(const std::string& text)
{
    std::wstring path = str::as_wstring(str::u8string(text));
    std::replace(path.begin(), path.end(), L'/', L'\\');
    if (!kHasDrives && path.size() > 1 && path[1] == L':')
        path.insert(0, L".\\");
    return path;
}

std::string TextOf(const std::wstring& path)
{
    std::string text = str::as_u8string(path).bytes();
    if (!kHasDrives)
        std::replace(text.begin(), text.end(), '\\', '/');
    return text;
}

std::wstring FolderOf(const std::wstring& path)
{
    return path.substr(0, path.find_last_of(kHasDrives ? L"\\:" : L"\\") + 1); // npos + 1 is 0
}

std::wstring NameOf(const std::wstring& path) { return path.substr(FolderOf(path).size()); }

std::wstring Beside(const std::wstring& file, const std::string& name)
{
    const std::wstring path = PathOf(name);
    const bool hasRoot = path.starts_with(L'\\') || (kHasDrives && path.find(L':') == 1);
    return hasRoot ? path : FolderOf(file) + path;
}

bool ReadWhole(const std::wstring& path, std::string& text, std::string& reason, std::uint64_t most)
{
    const sys::file::InputStream in = sys::file::MakeSharedFileInputStream(path);
    if (const gtl::status opened = in->State(); !opened.ok())
    {
        reason = WhyNotOpened(path, opened);
        return false;
    }
    std::uint64_t size = 0;
    gtl::status read = in->Size(size);
    if (read.ok() && size > most)
    {
        reason = "cannot be read: it has " + std::to_string(size) + " bytes, more than the " +
                 std::to_string(most) + " that are allowed";
        return false;
    }
    text.clear();
    text.resize(static_cast<std::size_t>(size));
    constexpr std::size_t kPiece = std::size_t{1} << 24;
    std::size_t length = 0;
    unsigned long got = 1;
    for (; read.ok() && length < text.size() && got > 0; length += got)
        read = in->Read(text.data() + length,
                        static_cast<unsigned long>(std::min(kPiece, text.size() - length)), got);
    text.resize(length); // the file may have become shorter
    if (!read.ok())
        reason = "cannot be read: " + ReasonOf(read);
    return read.ok();
}

bool WriteWhole(const std::wstring& path, const std::function<void(std::ostream&)>& write,
                std::string& reason)
{
    reason = TextOf(path) + " cannot be written: ";
    sys::file::SafeWriter writer;
    if (const gtl::status opened = writer.Open(path); !opened.ok())
    {
        reason += ReasonOf(opened);
        return false;
    }
    WriterBuffer buffer(writer);
    std::ostream out(&buffer);
    try
    {
        write(out);
        out.flush();
    }
    catch (const std::exception& exception)
    {
        reason += exception.what();
        return false;
    }
    const gtl::status written = out ? writer.Commit() : buffer.Failed();
    if (out && written.ok())
    {
        reason.clear();
        return true;
    }
    reason += written.ok() ? "its content cannot be made" : ReasonOf(written);
    return false;
}

bool WriteNew(const std::wstring& path, const std::function<void(std::ostream&)>& write,
              std::string& reason)
{
    std::random_device random; // the system's generator
    const std::wstring draft =
        path + L'.' + std::to_wstring(random()) + std::to_wstring(random()) + L".part";
    if (!WriteWhole(draft, write, reason))
    {
        reason.replace(0, TextOf(draft).size(), TextOf(path)); // it begins with the name
        return false;
    }
    const gtl::status named = sys::file::Rename(draft, path); // replaces nothing
    if (!named.ok())
    {
        RemoveFile(draft);
        reason = TextOf(path) + " cannot be written: " + ReasonOf(named, 3);
    }
    return named.ok();
}

void RemoveFile(const std::wstring& path)
{
    std::error_code ignored;
    std::filesystem::remove(sys::file::NativePath(path), ignored);
}

} // namespace percova
