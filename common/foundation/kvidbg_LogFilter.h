/// @file
/// The log's levels, and the one filter that decides which records pass.
#pragma once

#include "foundation/kvi_export.h"
#include "foundation/kvidbg_Category.h"

#include <atomic>
#include <cstdint>
#include <string>
#include <string_view>

namespace kvi::diag
{

/// The severity of a record.
enum Level : int
{
    verbose = 0,
    information = 1,
    warning = 2,
    error = 3,
    critical = 4
};

/// The level of an unknown level name.
constexpr int kNoLevel = 2147483647;

/// The level named @p name, in any letter case; kNoLevel for any other text.
KVI_API int LevelByName(std::wstring_view name);
/// The name of @p level; its number as text when it has none.
KVI_API std::string LevelName(int level);

namespace impl
{
struct FilterWord;
}

/// The process's filter: a record passes when its level is at least the minimum and its category
/// mask shares a bit with the filter's; a record without category passes by its level alone. At
/// first: warnings and above (everything in diagnostic mode, see kvi_feature.h), all categories.
/// Threads: any. Both numbers are in one word, so a reader never sees a partial change.
class KVI_API LogFilter
{
public:
    /// Sets both values as they are; the category text is forgotten.
    static void Set(int level, int mask);
    /// A level text that names a level sets the minimum; a category text that is not empty is kept
    /// and sets the mask to its CategoryMask, now and whenever a category is registered later. A
    /// text that is empty, or names no level, leaves its value as it was.
    static void Set(const std::wstring& level, const std::wstring& categories);

    /// The least level that passes.
    static int MinLevel() { return static_cast<int>(Word() >> 32); }
    /// The categories that pass, a bit each.
    static int CategoryMask() { return static_cast<int>(Word() & 0xFFFFFFFFu); }

    /// Whether an event of this level and these categories (0: of none) is wanted.
    static bool Passes(int level, int mask)
    {
        const std::uint64_t word = Word();
        return level >= static_cast<int>(word >> 32) &&
               (mask == 0 || (static_cast<std::uint32_t>(mask) & word) != 0);
    }

private:
    friend struct impl::FilterWord; // recomputes the mask when a category is registered

    static std::uint64_t Word() { return word_.load(std::memory_order_relaxed); }

    static std::atomic<std::uint64_t> word_; // the level above, the mask below
};

} // namespace kvi::diag
