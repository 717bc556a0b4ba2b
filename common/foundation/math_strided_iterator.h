/// @file
/// Iterates over numbers at a fixed distance.
#pragma once

#include <compare>
#include <cstddef>
#include <iterator>
#include <type_traits>

namespace math
{

/// A random-access iterator over every stride-th element of an array. It counts positions and
/// makes an address only to read or write, so an end beyond the array is harmless.
template <class T>
class strided_iterator
{
public:
    /// @{
    /// What the standard library asks of an iterator.
    using iterator_category = std::random_access_iterator_tag;
    using value_type = std::remove_cv_t<T>;
    using difference_type = std::ptrdiff_t;
    using pointer = T*;
    using reference = T&;
    /// @}

    strided_iterator() = default;
    /// @param offset  position of the element within the array at @p array
    /// @param stride  at least 1
    strided_iterator(T* array, std::ptrdiff_t offset, std::ptrdiff_t stride)
        : array_(array), offset_(offset), stride_(stride)
    {
    }
    /// The read-only form of a writable iterator.
    operator strided_iterator<const T>() const // NOLINT(google-explicit-constructor): as pointers
    {
        return {array_, offset_, stride_};
    }

    /// @{
    /// As with a pointer whose step is stride() elements of the array.
    T& operator*() const { return array_[offset_]; }
    T* operator->() const { return array_ + offset_; }
    T& operator[](std::ptrdiff_t n) const { return array_[offset_ + n * stride_]; }
    /// @}
    /// Elements of the array from one step to the next.
    std::ptrdiff_t stride() const { return stride_; }

    /// @{
    /// Moves by steps, not by elements of the array.
    strided_iterator& operator+=(std::ptrdiff_t n)
    {
        offset_ += n * stride_;
        return *this;
    }
    strided_iterator& operator-=(std::ptrdiff_t n) { return *this += -n; }
    strided_iterator& operator++() { return *this += 1; }
    strided_iterator& operator--() { return *this += -1; }
    strided_iterator operator++(int)
    {
        const strided_iterator before = *this;
        ++*this;
        return before;
    }
    strided_iterator operator--(int)
    {
        const strided_iterator before = *this;
        --*this;
        return before;
    }
    /// @}

    /// @{
    /// So many steps further on or back.
    friend strided_iterator operator+(strided_iterator i, std::ptrdiff_t n) { return i += n; }
    friend strided_iterator operator+(std::ptrdiff_t n, strided_iterator i) { return i += n; }
    friend strided_iterator operator-(strided_iterator i, std::ptrdiff_t n) { return i -= n; }
    /// @}
    /// Of two iterators over the same elements.
    friend std::ptrdiff_t operator-(const strided_iterator& a, const strided_iterator& b)
    {
        return (a.offset_ - b.offset_) / a.stride_;
    }
    /// @{
    /// Order of positions, for iterators over the same elements.
    friend bool operator==(const strided_iterator& a, const strided_iterator& b)
    {
        return a.offset_ == b.offset_;
    }
    friend std::strong_ordering operator<=>(const strided_iterator& a, const strided_iterator& b)
    {
        return a.offset_ <=> b.offset_;
    }
    /// @}

private:
    T* array_ = nullptr;
    std::ptrdiff_t offset_ = 0;
    std::ptrdiff_t stride_ = 1;
};

} // namespace math
