#include "foundation/str_locale.h"

#include "foundation/text/LocaleRecord.h"
#include "platform/platform_fork.h"
#include "platform/platform_locale.h"
#include "platform/platform_text.h"
#include "platform/platform_unload.h"

#include <atomic>
#include <map>
#include <mutex>
#include <stdexcept>

namespace str::locale
{
namespace
{

// The number punctuation of a locale that the standard library does not know by name.
template <class Char>
class Punctuation : public std::numpunct<Char>
{
public:
    Punctuation(Char decimal, Char thousands) : decimal_(decimal), thousands_(thousands) {}

protected:
    Char do_decimal_point() const override { return decimal_; }
    Char do_thousands_sep() const override { return thousands_; }
    std::string do_grouping() const override { return thousands_ != Char() ? "\3" : ""; }

private:
    Char decimal_;
    Char thousands_;
};

char AsciiOr(wchar_t c, char other) { return c > 0 && c < 0x80 ? char(c) : other; }

std::locale Object(const ID::Record& record)
{
    if (record.identifier == platform::kInvariantLocale)
        return std::locale::classic();
    try
    {
        if (const std::string name = platform::LocaleName(record.identifier); !name.empty())
            return std::locale(name);
    }
    catch (const std::runtime_error&)
    {
        // not known by that name
    }
    const wchar_t decimal = record.decimal[0];
    const wchar_t thousands = record.thousands.empty() ? L'\0' : record.thousands[0];
    const std::locale narrow(
        std::locale::classic(),
        new Punctuation<char>(AsciiOr(decimal, '.'), AsciiOr(thousands, '\0')));
    return std::locale(narrow, new Punctuation<wchar_t>(decimal, thousands));
}

// Guards the two maps below and the system's look-ups of locales. Never destroyed.
std::mutex& Mutex()
{
    static std::mutex& mutex = platform::UntilUnload<std::mutex>();
    return mutex;
}

// Records are created once for each number and live as long as the process.
const ID::Record* RecordOf(std::uint32_t identifier)
{
    const std::lock_guard lock(Mutex());
    static auto& records = platform::UntilUnload<std::map<std::uint32_t, ID::Record>>();
    return &records.try_emplace(identifier, identifier).first->second;
}

constexpr std::uint32_t kFrenchCanadian = 0x0c0c;

std::atomic<const ID*> applicationDefault = nullptr;
thread_local const ID* threadDefault = nullptr;

// An ID of the same record with the lifetime of the process.
const ID* Lasting(const ID& id)
{
    const std::lock_guard lock(Mutex());
    static auto& ids = platform::UntilUnload<std::map<std::uint32_t, ID>>();
    return &ids.try_emplace(id.identifier(), id).first->second;
}

void BeforeFork()
{
    try
    {
        (void)native(); // completed if another thread is constructing them
        (void)invariant();
        (void)french_canadian();
    }
    catch (...) // NOLINT(bugprone-empty-catch): no memory; the child may try
    {
    }
    Mutex().lock();
}

// A forked child finds the locales constructed and their lock free.
constinit platform::ForkHandler forkHandler{platform::ForkRank::text, BeforeFork,
                                            [] { Mutex().unlock(); }, [] { Mutex().unlock(); }};
const bool kForkHandled = platform::AddForkHandler(forkHandler);

} // namespace

ID::Record::Record(std::uint32_t number)
    : identifier(number),
      decimal(platform::Wide(platform::LocaleText(number, platform::LocaleItem::decimal))),
      thousands(platform::Wide(platform::LocaleText(number, platform::LocaleItem::thousands))),
      list(platform::Wide(platform::LocaleText(number, platform::LocaleItem::list)))
{
    if (decimal.empty())
        decimal = L".";
    object = Object(*this);
}

ID::ID(std::uint32_t identifier) : record_(RecordOf(identifier)) {}
std::uint32_t ID::identifier() const { return record_->identifier; }
const std::locale& ID::object() const { return record_->object; }

ID native()
{
    if (threadDefault != nullptr)
        return *threadDefault;
    if (const ID* id = applicationDefault.load())
        return *id;
    static const ID user(platform::UserLocale());
    return user;
}

ID invariant()
{
    static const ID id(platform::kInvariantLocale);
    return id;
}

ID french_canadian()
{
    static const ID id(kFrenchCanadian);
    return id;
}

void set_application_default(const ID& id) { applicationDefault = Lasting(id); }
void set_thread_default(const ID& id) { threadDefault = Lasting(id); }

bool is_installed(const ID& id)
{
    const std::lock_guard lock(
        Mutex()); // a fork meanwhile would leave the C library's own lock held
    return platform::IsLocaleInstalled(id.identifier());
}

std::wstring decimal_char(const ID& id) { return id.record().decimal; }
std::wstring thousandths_char(const ID& id) { return id.record().thousands; }
std::wstring list_delim(const ID& id) { return id.record().list; }

} // namespace str::locale
