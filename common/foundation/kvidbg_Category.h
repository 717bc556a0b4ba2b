/// @file
/// The log's categories: names given at run time, each a bit of a mask.
#pragma once

#include "foundation/kvi_export.h"

#include <atomic>
#include <string>

namespace kvi::diag
{

/// Registers @p name if it is new, and gives the bits of every registered name that begins with it,
/// so "Math" selects "Math" and "Math.Solver". Case (A to Z) is ignored.
///
/// Names get the bits 4, 8, 16 ... 2^30 in the order they come; 1 and 2 are never assigned. The
/// 30th name and every later one is registered without a bit, which is logged once: bits are never
/// shared, the ones already given stay right, and records of a name without a bit pass or fail by
/// their level alone. The empty name is not registered; it selects every bit assigned so far.
/// Threads: any, also while static objects are made and destroyed.
KVI_API int CategoryMask(const std::string& name);

/// The name of @p mask: the first name, in order, whose CategoryMask it is; or else every name
/// whose own bit is in it, joined by ";". -1 gives all registered names. Empty for 0 to 3 and for
/// the other negative masks.
KVI_API std::string CategoryNames(int mask);

/// A category that a module declares once, as an object at namespace scope; it names the category
/// in KVI_LOG.
class KVI_API DeclareCategoryMask
{
public:
    /// @param name  as log filters spell it
    explicit DeclareCategoryMask(const std::string& name);

    /// The name's mask, looked up on the first use and kept.
    operator int() const // NOLINT(google-explicit-constructor): used as its mask
    {
        const int mask = mask_.load(std::memory_order_relaxed);
        return mask != kUnknown ? mask : LookUp();
    }

private:
    static constexpr int kUnknown = -1;

    int LookUp() const;

    const std::string* name_; // never freed: objects destroyed late may still log
    mutable std::atomic<int> mask_{kUnknown};
};

/// The library's two categories, the first of the registry: bits 4 and 8.
extern KVI_API const DeclareCategoryMask kMathCategory;    ///< "Math"
extern KVI_API const DeclareCategoryMask kMessageCategory; ///< "Message"

namespace impl
{
/// Incremented by every new name: a cached list of names may be out of date.
unsigned CategoryGeneration();
} // namespace impl

} // namespace kvi::diag
