/// @file
/// Two iterators that a loop can go through.
#pragma once

#include <cstddef>
#include <iterator>

namespace gtl
{

/// The elements from one random-access iterator up to another.
template <class Iterator>
class iterator_range
{
public:
    iterator_range() = default;
    /// From @p first up to, not including, @p last.
    iterator_range(Iterator first, Iterator last) : begin_(first), end_(last) {}

    Iterator begin() const { return begin_; }     ///< the first element
    Iterator end() const { return end_; }         ///< past the last element
    bool empty() const { return begin_ == end_; } ///< whether there are no elements
    /// Number of elements.
    std::size_t size() const { return static_cast<std::size_t>(end_ - begin_); }
    /// @param index  from 0, below size()
    decltype(auto) operator[](std::size_t index) const
    {
        return begin_[static_cast<std::ptrdiff_t>(index)];
    }

private:
    Iterator begin_ = Iterator();
    Iterator end_ = Iterator();
};

} // namespace gtl
