#include "foundation/gtl_status.h"

#include "foundation/App.h"
#include "foundation/str_fmt.h"

#include <cstring>
#include <limits>
#include <new>

namespace gtl
{

struct status::detail::Texts
{
    std::wstring_view message;
    std::wstring_view arguments[5];
    std::string_view file;
};

namespace
{
/// Copies @p text to @p place, and moves @p place past it.
template <class Char>
std::basic_string_view<Char> Put(std::basic_string_view<Char> text, Char*& place)
{
    if (text.empty())
        return {};
    Char* const start = place;
    place += text.size();
    std::memcpy(start, text.data(), text.size() * sizeof(Char));
    return {start, text.size()};
}
} // namespace

status::detail* status::detail::Make(unsigned code, const Texts& texts, std::int32_t line)
{
    // 64 bits, because the same long text may be given five times.
    std::uint64_t letters = texts.message.size();
    for (const std::wstring_view argument : texts.arguments)
        letters += argument.size();
    const std::uint64_t bytes = sizeof(detail) + letters * sizeof(wchar_t) + texts.file.size();
    if (bytes > std::numeric_limits<std::size_t>::max())
        throw std::bad_alloc();

    void* const block = ::operator new(static_cast<std::size_t>(bytes));
    auto* const made = new (block) detail(code, line);
    auto* wide = reinterpret_cast<wchar_t*>(made + 1);
    made->template_ = Put(texts.message, wide);
    for (int i = 0; i < 5; ++i)
        made->arguments_[i] = Put(texts.arguments[i], wide);
    auto* narrow = reinterpret_cast<char*>(wide);
    made->sourceFile_ = Put(texts.file, narrow);
    return made;
}

std::wstring status::detail::as_wstring() const
{
    const auto& a = arguments_;
    const std::wstring_view text = template_.empty() ? AppImpl::EnglishText(code_) : template_;
    if (!text.empty() || code_ == 0)
        return str::sprintf(text, a[0], a[1], a[2], a[3], a[4]);
    std::wstring list = str::sprintf(L"message %u", code_);
    const wchar_t* between = L": ";
    for (const std::wstring_view argument : a)
    {
        if (argument.empty())
            continue;
        list.append(between).append(argument);
        between = L"; ";
    }
    return list;
}

status::status(unsigned code, std::wstring_view argument1, std::wstring_view argument2,
               std::wstring_view argument3, std::wstring_view argument4,
               std::wstring_view argument5)
{
    const std::wstring_view text = App::Instance().MessageTextView(code);
    detail_ =
        detail::Make(code, {text, {argument1, argument2, argument3, argument4, argument5}, {}}, -1);
}

status::status(std::wstring_view text, std::wstring_view argument1, std::wstring_view argument2,
               std::wstring_view argument3, std::wstring_view argument4,
               std::wstring_view argument5)
    : detail_(
          detail::Make(0, {text, {argument1, argument2, argument3, argument4, argument5}, {}}, -1))
{
}

status status::AtSource(unsigned code, std::wstring_view argument1, std::wstring_view argument2,
                        std::string_view file, std::int32_t line)
{
    const std::wstring_view text = App::Instance().MessageTextView(code);
    status made;
    made.detail_ = detail::Make(code, {text, {argument1, argument2, {}, {}, {}}, file}, line);
    return made;
}

status status::Duplicate() const
{
    status made;
    if (detail_ == nullptr)
        return made;
    const auto& a = detail_->arguments_;
    made.detail_ = detail::Make(
        detail_->code_, {detail_->template_, {a[0], a[1], a[2], a[3], a[4]}, detail_->sourceFile_},
        detail_->sourceLine_);
    return made;
}

void status::Destroy(detail* record) noexcept { ::operator delete(record); }

bool status::SameContents(const detail* a, const detail* b) noexcept
{
    if (a == nullptr || b == nullptr || a->template_ != b->template_ ||
        (a->template_.empty() && a->code_ != b->code_))
        return false;
    for (int i = 0; i < 5; ++i)
    {
        if (a->arguments_[i] != b->arguments_[i])
            return false;
    }
    return a->sourceFile_ == b->sourceFile_ && a->sourceLine_ == b->sourceLine_;
}

std::wstring status::as_wstring() const
{
    return detail_ != nullptr ? detail_->as_wstring() : std::wstring();
}

} // namespace gtl

namespace polymorphic
{

gtl::status DeepCopy(const gtl::status& status) { return status.Duplicate(); }

} // namespace polymorphic
