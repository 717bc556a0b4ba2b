/// @file
/// A file descriptor with an owner.
#pragma once

#include "platform/platform_openfile.h"

namespace platform::posix
{

inline int NumberOf(const OpenFile& file) { return static_cast<int>(file.Number()); }

/// An open file as a descriptor; -1 means none.
class Descriptor : public OpenFile
{
public:
    explicit Descriptor(int number = -1) : OpenFile(number) {}
    int Number() const { return NumberOf(*this); }
};

} // namespace platform::posix
