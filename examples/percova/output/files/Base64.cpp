#include "output/files/Base64.h"

#include "KVI.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

namespace percova
{
namespace
{

constexpr std::size_t kPiece = 24 * 1024;      ///< bytes a thread encodes at a time
constexpr std::size_t kTogether = 64 * kPiece; ///< bytes whose text is held at a time

/// The two characters of every twelve bits.
std::array<std::array<char, 2>, 4096> MakePairs()
{
    constexpr char kDigits[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::array<std::array<char, 2>, 4096> pairs;
    for (std::size_t bits = 0; bits < pairs.size(); ++bits)
        pairs[bits] = {kDigits[bits >> 6], kDigits[bits & 63]};
    return pairs;
}

/// Writes four characters for every three bytes; what is missing of the last three is padded.
void Encode(const std::vector<char>& bytes, std::size_t size, char* text)
{
    static const auto kPairs = MakePairs();
    const auto at = [&](std::size_t i) {
        return i < size ? std::uint32_t{static_cast<unsigned char>(bytes[i])} : 0U;
    };
    for (std::size_t i = 0; i < size; i += 3, text += 4)
    {
        const std::uint32_t bits = at(i) << 16 | at(i + 1) << 8 | at(i + 2);
        std::memcpy(text, kPairs[bits >> 12].data(), 2);
        std::memcpy(text + 2, kPairs[bits & 4095].data(), 2);
    }
    for (std::size_t missing = (3 - size % 3) % 3; missing > 0; --missing)
        *(text - missing) = '=';
}

} // namespace

void WriteBase64(std::ostream& out, std::size_t size,
                 const std::function<void(std::size_t, std::size_t, char*)>& fill)
{
    std::string text;
    for (std::size_t from = 0; from < size; from += kTogether)
    {
        const std::size_t end = std::min(from + kTogether, size);
        text.resize((end - from + 2) / 3 * 4);
        sys::thread::task::ParallelForPieces(
            0, (end - from + kPiece - 1) / kPiece, 1, [&](std::size_t begin, std::size_t stop) {
                std::vector<char> bytes(kPiece);
                for (std::size_t piece = begin; piece < stop; ++piece)
                {
                    const std::size_t first = from + piece * kPiece;
                    const std::size_t last = std::min(first + kPiece, end);
                    fill(first, last, bytes.data());
                    Encode(bytes, last - first, text.data() + (first - from) / 3 * 4);
                }
            });
        out << text;
    }
}

} // namespace percova
