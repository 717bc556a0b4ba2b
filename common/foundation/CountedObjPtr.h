/// @file
/// The pointer through which objects are shared.
#pragma once

#include <memory>

/// Shares an object; the count of its owners stands apart from it and begins with 1.
template <class T>
using CountedObjPtr = std::shared_ptr<T>;
