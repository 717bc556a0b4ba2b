/// @file
/// Iterates over numbers at a fixed distance.
#pragma once

#include <compare>
#include <cstddef>
#include <iterator>
#include <type_traits>

namespace math
{

/// A random-access iterator over every stride-th element of an array. It counts positions and forms
/// an address only to read or write, so an end beyond the array is harmless.
template <class T>
class strided_iterator
{
public:
    /// @{
    /// The member types required of an iterator.
    using iterator_category = std::random_access_iterator_tag;
    /// Type of the elements.
    using value_type = std::remove_cv_t<T>;
    /// Type of numbers of steps.
    using difference_type = std::ptrdiff_t;
    /// Pointer to an element.
    using pointer = T*;
    /// Reference to an element.
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
    /// Address of the element.
    T* operator->() const { return array_ + offset_; }
    /// The element @p n steps on.
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
    /// Moves back by @p n steps.
    strided_iterator& operator-=(std::ptrdiff_t n) { return *this += -n; }
    /// Moves on by one step.
    strided_iterator& operator++() { return *this += 1; }
    /// Moves back by one step.
    strided_iterator& operator--() { return *this += -1; }
    /// Moves on by one step. @returns the position before
    strided_iterator operator++(int)
    {
        const strided_iterator before = *this;
        ++*this;
        return before;
    }
    /// Moves back by one step. @returns the position before
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
    /// The position @p n steps on.
    friend strided_iterator operator+(std::ptrdiff_t n, strided_iterator i) { return i += n; }
    /// The position @p n steps back.
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
    /// Which position comes first.
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
