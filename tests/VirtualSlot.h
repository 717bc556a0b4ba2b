// Positions of virtual operations, for classes whose tables other programs rely on.
#pragma once

#include <cstddef>
#include <cstring>

/// The index of a virtual operation in its class's table, after the destructor's two (0 and 1).
template <class Operation>
std::size_t VirtualSlot(Operation operation)
{
    // Both compilers' common C++ ABI: a pointer to a virtual member holds its offset plus 1.
    std::size_t word = 0;
    std::memcpy(&word, &operation, sizeof word);
    return (word - 1) / sizeof(void*);
}
