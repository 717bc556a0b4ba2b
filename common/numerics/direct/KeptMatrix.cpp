#include "numerics/direct/KeptMatrix.h"

#include <algorithm>
#include <cstring>

namespace numerics
{
namespace
{

/// Digest of the values' bits.
void Digest(const double* values, std::size_t count, std::uint64_t digest[2])
{
    std::uint64_t lanes[4] = {0x9E3779B97F4A7C15u, 0xC2B2AE3D27D4EB4Fu, 0x165667B19E3779F9u,
                              0x27D4EB2F165667C5u};
    for (std::size_t k = 0; k < count; ++k)
    {
        std::uint64_t bits = 0;
        std::memcpy(&bits, values + k, sizeof bits);
        std::uint64_t& lane = lanes[k % 4];
        lane = (lane ^ bits) * 0xD6E8FEB86659FD93u;
        lane ^= lane >> 32;
    }
    digest[0] = lanes[0] * 31 + lanes[1] * 131 + count;
    digest[1] = lanes[2] * 31 + lanes[3] * 131;
}

} // namespace

bool KeptMatrix::HasPatternOf(const MatrixView& A) const
{
    return rowStart_.size() == std::size_t(A.n) + 1 &&
           std::equal(rowStart_.begin(), rowStart_.end(), A.rowStart) &&
           std::equal(columns_.begin(), columns_.end(), A.columns);
}

void KeptMatrix::SetPattern(const MatrixView& A)
{
    columns_.assign(A.columns, A.columns + A.rowStart[A.n]);
    rowStart_.assign(A.rowStart, A.rowStart + A.n + 1);
}

bool KeptMatrix::SetValues(const MatrixView& A)
{
    std::uint64_t digest[2];
    Digest(A.values, std::size_t(A.rowStart[A.n]), digest);
    const bool isSame = std::equal(digest, digest + 2, digest_);
    std::copy(digest, digest + 2, digest_);
    return isSame;
}

} // namespace numerics
