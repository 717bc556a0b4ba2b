/// @file
/// The pointer through which objects are shared.
#pragma once

#include <memory>

/// Shared ownership of an object; the reference count is outside it and starts at 1.
template <class T>
using CountedObjPtr = std::shared_ptr<T>;
