/// @file
/// @internal Storage for vector code.
#pragma once

#include <cstddef>
#include <limits>
#include <new>

namespace numerics
{

/// Uninitialised doubles aligned to a cache line. Growing loses the contents.
class AlignedBuffer
{
public:
    AlignedBuffer() = default;
    ~AlignedBuffer() { Free(); }
    AlignedBuffer(const AlignedBuffer&) = delete;
    AlignedBuffer& operator=(const AlignedBuffer&) = delete;

    /// Reserves @p size doubles; throws std::bad_alloc, and is then empty.
    double* Reserve(std::size_t size)
    {
        if (size > size_)
        {
            Free();
            if (size > std::numeric_limits<std::size_t>::max() / sizeof(double))
                throw std::bad_alloc();
            data_ = static_cast<double*>(::operator new(size * sizeof(double), kLine));
            size_ = size;
        }
        return data_;
    }
    void Free()
    {
        ::operator delete(data_, kLine);
        data_ = nullptr;
        size_ = 0;
    }
    double* Data() { return data_; }

private:
    static constexpr std::align_val_t kLine{64};
    double* data_ = nullptr;
    std::size_t size_ = 0;
};

} // namespace numerics
