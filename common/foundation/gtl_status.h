/// @file
/// The result of every operation that can fail.
#pragma once

#include "foundation/kvi_export.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>

namespace gtl
{

// Exported here: not every compiler accepts the attribute beside [[nodiscard]].
class KVI_API status;

/// Success, or one error: a message, five argument texts and the place that raised it.
///
/// Success is the empty status; it costs one pointer and allocates nothing. An error is a record
/// that its copies share and that never changes.
///
/// Threads: the share count is plain, so a status and its copies belong to one thread at a time.
/// Pass a status to another thread without keeping a copy, or keep a polymorphic::DeepCopy of it.
/// @code
/// if (gtl::status opened = Open(path); opened != gtl::status())
///     return opened;
/// @endcode
class [[nodiscard]] status
{
public:
    class detail;

    /// Success.
    status() noexcept = default;
    /// An error with the message that the application has for @p code at this moment. Code and
    /// arguments are kept also when it has none.
    explicit status(unsigned code, std::wstring_view argument1 = {},
                    std::wstring_view argument2 = {}, std::wstring_view argument3 = {},
                    std::wstring_view argument4 = {}, std::wstring_view argument5 = {});
    /// An error with the message template @p text; a literal percent sign is written "%%".
    explicit status(std::wstring_view text, std::wstring_view argument1 = {},
                    std::wstring_view argument2 = {}, std::wstring_view argument3 = {},
                    std::wstring_view argument4 = {}, std::wstring_view argument5 = {});
    /// An error with the message for @p code, raised at @p line of @p file.
    static status AtSource(unsigned code, std::wstring_view argument1, std::wstring_view argument2,
                           std::string_view file, std::int32_t line);

    /// @{
    /// Copies share the details; nothing is allocated. A moved-from status is ok.
    inline status(const status& other) noexcept;
    /// Takes over the details; @p other is ok afterwards.
    status(status&& other) noexcept : detail_(std::exchange(other.detail_, nullptr)) {}
    /// Shares the details of @p other.
    status& operator=(const status& other) noexcept
    {
        status(other).swap(*this);
        return *this;
    }
    /// Takes over the details; @p other is ok afterwards.
    status& operator=(status&& other) noexcept
    {
        status(std::move(other)).swap(*this);
        return *this;
    }
    /// @}
    ~status() { Release(); }

    /// Whether there is no error.
    bool ok() const noexcept { return detail_ == nullptr; }
    /// The message code of an error that was made from one; 0 for success and literal templates.
    inline unsigned code() const noexcept;
    /// The record of the error; null for success.
    const detail* details() const noexcept { return detail_; }
    /// The result of polymorphic::DeepCopy.
    status Duplicate() const;
    /// The finished message; empty for success.
    std::wstring as_wstring() const;
    /// Exchanges the two.
    void swap(status& other) noexcept { std::swap(detail_, other.detail_); }

    /// Equal when both are success, or both errors have equal templates, arguments and places;
    /// where the application had no text, the codes are compared instead of the templates.
    friend bool operator==(const status& a, const status& b) noexcept
    {
        return a.detail_ == b.detail_ || SameContents(a.detail_, b.detail_);
    }

private:
    inline void Release() noexcept;
    static void Destroy(detail* record) noexcept;
    static bool SameContents(const detail* a, const detail* b) noexcept;

    detail* detail_ = nullptr;
};

/// The record behind an error. It and its texts are one block of memory.
class KVI_API status::detail
{
public:
    /// The template with the five arguments filled in. Where the application had no text for the
    /// code, that is the library's own English one, or else the code with the arguments as a list.
    std::wstring as_wstring() const;
    /// The message code; 0 when the template was given literally.
    unsigned code() const noexcept { return code_; }
    /// The text before its arguments are filled in; empty when the application had none.
    std::wstring_view message_template() const noexcept { return template_; }
    /// @param number  1 to 5
    std::wstring_view argument(int number) const noexcept { return arguments_[number - 1]; }
    /// Empty when unknown.
    std::string_view source_file() const noexcept { return sourceFile_; }
    /// -1 when unknown.
    std::int32_t source_line() const noexcept { return sourceLine_; }

    detail(const detail&) = delete;
    detail& operator=(const detail&) = delete;

private:
    friend class status;

    struct Texts;
    detail(unsigned code, std::int32_t line) noexcept : sourceLine_(line), code_(code) {}
    ~detail() = default;
    static detail* Make(unsigned code, const Texts& texts, std::int32_t line);

    std::uint32_t count_ = 1; // of the statuses that share this record
    // The texts follow the record in its block of memory.
    std::wstring_view template_;
    std::wstring_view arguments_[5];
    std::string_view sourceFile_;
    std::int32_t sourceLine_;
    unsigned code_;
};

inline unsigned status::code() const noexcept { return detail_ != nullptr ? detail_->code_ : 0; }

// Code is laid out for success; the branch for an error is the unlikely one.
inline status::status(const status& other) noexcept : detail_(other.detail_)
{
    if (detail_ != nullptr) [[unlikely]]
        ++detail_->count_;
}

inline void status::Release() noexcept
{
    if (detail_ == nullptr) [[likely]]
        return;
    // The last share destroys the record as it is; only earlier ones count down.
    if (detail_->count_ < 2)
        Destroy(detail_);
    else
        --detail_->count_;
    detail_ = nullptr;
}

} // namespace gtl

namespace polymorphic
{

/// A status with the same contents that shares nothing with @p status; success gives success.
KVI_API gtl::status DeepCopy(const gtl::status& status);

} // namespace polymorphic
