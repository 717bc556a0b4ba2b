#include "foundation/kvidbg_Category.h"

#include "foundation/kvi_feature.h"
#include "foundation/kvidbg.h"
#include "foundation/kvidbg_LogFilter.h"
#include "foundation/str.h"
#include "platform/platform_error.h"
#include "platform/platform_fork.h"
#include "platform/platform_unload.h"

#include <map>
#include <mutex>

namespace kvi::diag
{
namespace
{
constexpr std::uint64_t WordOf(int level, int mask)
{
    return (static_cast<std::uint64_t>(static_cast<std::uint32_t>(level)) << 32) |
           static_cast<std::uint32_t>(mask);
}

/// The names and their bits, and the text the filter's mask comes from. Never destroyed: records
/// may be logged until the process has ended. No record is logged under the lock, for a sink that
/// holds its own asks here for names.
struct Registry
{
    std::mutex lock;
    std::map<std::string, int> bits;
    unsigned nextBit = 4;
    std::string filterText; // in lower case
    std::atomic<unsigned> generation{0};
    bool reportedEnd = false;

    Registry()
    {
        Add("math");
        Add("message");
    }

    static Registry& Instance()
    {
        static Registry& registry = platform::UntilUnload<Registry>();
        return registry;
    }

    void Add(const std::string& lowered)
    {
        const bool hasBit = nextBit <= 1u << 30;
        bits.emplace(lowered, hasBit ? static_cast<int>(nextBit) : 0);
        nextBit = hasBit ? nextBit << 1 : nextBit;
        generation.fetch_add(1, std::memory_order_release);
    }

    int MaskOf(const std::string& prefix) const
    {
        int mask = 0;
        for (auto at = bits.lower_bound(prefix); at != bits.end() && at->first.starts_with(prefix);
             ++at)
            mask |= at->second;
        return mask;
    }

    /// @param report  set when the name is the first without a bit
    /// @returns whether the name was new
    bool Register(const std::string& lowered, bool& report)
    {
        if (lowered.empty() || bits.contains(lowered))
            return false;
        Add(lowered);
        report = !reportedEnd && bits.at(lowered) == 0;
        reportedEnd = reportedEnd || report;
        return true;
    }
};

void ReportEnd(const std::string& name)
{
    KVI_LOG(warning, 0,
            "no bit is left for log category \"%s\": it and later ones cannot be selected", name);
}

using Guard = std::lock_guard<std::mutex>;

// A forked child finds the registry constructed and its lock free.
constinit platform::ForkHandler forkHandler{
    platform::ForkRank::text, [] { Registry::Instance().lock.lock(); },
    [] { Registry::Instance().lock.unlock(); }, [] { Registry::Instance().lock.unlock(); }};
const bool kForkHandled = platform::AddForkHandler(forkHandler);
} // namespace

// Set before any constructor runs, as are the category bits of objects not yet made (0: level
// only).
constinit std::atomic<std::uint64_t> LogFilter::word_{WordOf(warning, -1)};

struct impl::FilterWord
{
    static void SetMask(int mask)
    {
        LogFilter::word_.store(WordOf(LogFilter::MinLevel(), mask), std::memory_order_relaxed);
    }
};

const DeclareCategoryMask kMathCategory("Math");
const DeclareCategoryMask kMessageCategory("Message");

namespace
{
/// Diagnostic mode opens the filter when the library is loaded.
const bool kOpened = [] {
    if (kvi::feature::IsDiagnosticMode())
        LogFilter::Set(verbose, LogFilter::CategoryMask());
    return true;
}();
} // namespace

int CategoryMask(const std::string& name)
{
    const std::string lowered = str::ascii_lower(name);
    Registry& registry = Registry::Instance();
    bool report = false;
    int mask = 0;
    {
        const Guard guard(registry.lock);
        if (registry.Register(lowered, report) && !registry.filterText.empty())
            impl::FilterWord::SetMask(registry.MaskOf(registry.filterText));
        mask = registry.MaskOf(lowered);
    }
    if (report)
        ReportEnd(name);
    return mask;
}

std::string CategoryNames(int mask)
{
    if (mask >= 0 ? mask <= 3 : mask != -1)
        return {};
    const Registry& registry = Registry::Instance();
    const Guard guard(Registry::Instance().lock);
    std::string names;
    for (const auto& [name, bit] : registry.bits)
    {
        if (mask != -1 && registry.MaskOf(name) == mask)
            return name;
        if (mask == -1 || (bit & mask) != 0)
            names += (names.empty() ? "" : ";") + name;
    }
    return names;
}

DeclareCategoryMask::DeclareCategoryMask(const std::string& name)
    : name_(&platform::UntilUnload<std::string>(name))
{
    (void)diag::CategoryMask(name); // only to register it: its mask may still grow
}

int DeclareCategoryMask::LookUp() const
{
    const platform::ErrorNumberGuard guard; // while a record is logged
    const int mask = diag::CategoryMask(*name_);
    mask_.store(mask, std::memory_order_relaxed);
    return mask;
}

unsigned impl::CategoryGeneration()
{
    return Registry::Instance().generation.load(std::memory_order_acquire);
}

void LogFilter::Set(int level, int mask)
{
    Registry& registry = Registry::Instance();
    const Guard guard(registry.lock);
    registry.filterText.clear();
    word_.store(WordOf(level, mask), std::memory_order_relaxed);
}

void LogFilter::Set(const std::wstring& level, const std::wstring& categories)
{
    const int named = LevelByName(level);
    const std::string text = str::as_cstring(categories);
    Registry& registry = Registry::Instance();
    bool report = false;
    {
        const Guard guard(registry.lock);
        int mask = CategoryMask();
        if (!text.empty())
        {
            registry.filterText = str::ascii_lower(text);
            registry.Register(registry.filterText, report);
            mask = registry.MaskOf(registry.filterText);
        }
        word_.store(WordOf(named == kNoLevel ? MinLevel() : named, mask),
                    std::memory_order_relaxed);
    }
    if (report)
        ReportEnd(text);
}

} // namespace kvi::diag
