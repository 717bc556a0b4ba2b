#include "platform/platform_utf8.h"
#include "platform/posix/platform_names_impl.h"

#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include <sys/stat.h>
#include <unistd.h>

namespace platform::impl
{
namespace
{

constexpr std::size_t kReadable = 32; // letters of a name that are kept as they are
constexpr char kHex[] = "0123456789abcdef";

/// The 128-bit FNV-1a hash of @p bytes as 32 digits.
std::string Hash(std::string_view bytes)
{
    // The prime is 2^88 + 0x13b, so a product is a shift and a small product of two halves.
    std::uint64_t high = 0x6c62272e07bb0142, low = 0x62b821756295c58d;
    for (const char byte : bytes)
    {
        low ^= static_cast<unsigned char>(byte);
        const std::uint64_t shifted = low << 24; // the upper half of low * 2^88
        const std::uint64_t lower = (low & 0xffffffff) * 0x13b, upper = (low >> 32) * 0x13b;
        const std::uint64_t sum = lower + (upper << 32);
        high = high * 0x13b + (upper >> 32) + (sum < lower ? 1 : 0) + shifted;
        low = sum;
    }
    std::string digits;
    for (const std::uint64_t half : {high, low})
        for (int shift = 60; shift >= 0; shift -= 4)
            digits += kHex[half >> shift & 15];
    return digits;
}

bool IsPrivateFolder(const std::string& path)
{
    struct stat found
    {
    };
    if (::lstat(path.c_str(), &found) != 0)
        return false;
    if (S_ISDIR(found.st_mode) && found.st_uid == ::geteuid() && (found.st_mode & 077) == 0)
        return true;
    errno = EACCES; // somebody else put it there
    return false;
}

} // namespace

std::string SafeName(const std::wstring& name)
{
    std::wstring_view rest = name;
    for (const std::wstring_view prefix : {L"Global\\", L"Local\\"})
        if (rest.starts_with(prefix))
        {
            rest.remove_prefix(prefix.size());
            break;
        }
    const std::string bytes = ToUtf8(rest);
    std::string safe;
    for (const char byte : bytes)
    {
        const bool plain = (byte >= '0' && byte <= '9') || (byte >= 'a' && byte <= 'z') ||
                           (byte >= 'A' && byte <= 'Z') || byte == '-' || byte == '_';
        const auto value = static_cast<unsigned char>(byte);
        if (plain)
            safe += byte;
        else
            safe.append({'%', kHex[value >> 4], kHex[value & 15]});
    }
    // "%h" begins no escaped byte, so a shortened name is no other name.
    return safe.size() <= kReadable ? safe : safe.substr(0, kReadable) + "%h" + Hash(bytes);
}

std::string RuntimeFolder()
{
    const char* const given = std::getenv("XDG_RUNTIME_DIR"); // NOLINT(concurrency-mt-unsafe)
    if (given != nullptr && given[0] == '/')
    {
        std::string path = std::string(given) + "/kvi";
        if ((::mkdir(path.c_str(), 0700) == 0 || errno == EEXIST) && IsPrivateFolder(path))
            return path;
    }
    std::string path = "/tmp/kvi-" + std::to_string(::geteuid());
    if ((::mkdir(path.c_str(), 0700) != 0 && errno != EEXIST) || !IsPrivateFolder(path))
        return {};
    return path;
}

} // namespace platform::impl
