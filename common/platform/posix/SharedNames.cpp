#include "platform/posix/SharedNames.h"

#include "platform/platform_utf8.h"

#include <cerrno>
#include <cstdint>
#include <string_view>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>

namespace platform::posix
{
namespace
{

constexpr std::size_t kReadable = 32; // characters of a name that are kept unchanged
constexpr char kHex[] = "0123456789abcdef";

/// The 128-bit FNV-1a hash of @p bytes, upper and lower half.
std::pair<std::uint64_t, std::uint64_t> HashOf(std::string_view bytes)
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
    return {high, low};
}

/// The hash as 32 digits.
std::string Hash(std::string_view bytes)
{
    const auto [high, low] = HashOf(bytes);
    std::string digits;
    for (const std::uint64_t half : {high, low})
        for (int shift = 60; shift >= 0; shift -= 4)
            digits += kHex[half >> shift & 15];
    return digits;
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
    // "%h" begins no escaped byte, so a shortened name never equals another name.
    return safe.size() <= kReadable ? safe : safe.substr(0, kReadable) + "%h" + Hash(bytes);
}

std::uint64_t NumberOf(const std::string& name)
{
    const auto [high, low] = HashOf(name);
    return (high ^ low) & ((std::uint64_t{1} << 58) - 1);
}

std::string UserFolderPath(uid_t user) { return "/tmp/kvi-" + std::to_string(user); }

posix::Descriptor UserFolder(uid_t user)
{
    const std::string path = UserFolderPath(user);
    if (::mkdir(path.c_str(), 0700) != 0 && errno != EEXIST)
        return posix::Descriptor();
    posix::Descriptor folder(::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    struct stat about;
    if (!folder.IsOpen() || ::fstat(folder.Number(), &about) != 0)
        return posix::Descriptor();
    if (about.st_uid == user && (about.st_mode & 077) == 0)
        return folder;
    errno = EACCES; // another user made it
    return posix::Descriptor();
}

} // namespace platform::posix
