/// @file
/// A vector of a few items with inline storage.
#pragma once

#include <cassert>
#include <cstddef>

namespace gtl
{

/// Up to Capacity items of a simple type, without heap memory; aligned to Alignment bytes.
template <class T, std::size_t Capacity, std::size_t Alignment = alignof(T)>
class fixed_vector
{
public:
    /// @{
    /// The member types required of a container.
    using value_type = T;
    /// Type of sizes and positions.
    using size_type = std::size_t;
    /// Pointer to an item.
    using iterator = T*;
    /// Pointer to a constant item.
    using const_iterator = const T*;
    /// @}

    /// Appends an item; there must be room.
    void push_back(const T& item)
    {
        assert(size_ < Capacity);
        items_[size_++] = item;
    }
    void clear() { size_ = 0; }                                    ///< removes all items
    bool empty() const { return size_ == 0; }                      ///< whether there are none
    std::size_t size() const { return size_; }                     ///< number of items
    static constexpr std::size_t capacity() { return Capacity; }   ///< the most items
    T& operator[](std::size_t index) { return items_[index]; }     ///< item, below size()
    const T& operator[](std::size_t i) const { return items_[i]; } ///< item, below size()
    T& back() { return items_[size_ - 1]; }                        ///< the last item
    const T& back() const { return items_[size_ - 1]; }            ///< the last item
    T* begin() { return items_; }                                  ///< the first item
    T* end() { return items_ + size_; }                            ///< past the last item
    const T* begin() const { return items_; }                      ///< the first item
    const T* end() const { return items_ + size_; }                ///< past the last item

private:
    alignas(Alignment) T items_[Capacity] = {};
    std::size_t size_ = 0;
};

} // namespace gtl
