#include "sys/sys_reg_RegistryMirror.h"

#include "foundation/str.h"
#include "platform/platform_fork.h"
#include "sys/reg/RegistryValues.h"
#include "sys/sys_reg_Registry.h"

#include <charconv>
#include <cstdint>
#include <limits>
#include <map>
#include <mutex>
#include <optional>
#include <variant>

namespace sys::reg
{
namespace
{
using Value = std::variant<std::uint32_t, std::wstring>;

struct Entry
{
    Value value;
    bool changed; // since it was read or written
};

struct IgnoringCase
{
    bool operator()(const std::wstring& a, const std::wstring& b) const
    {
        return str::compare_ignore_case(a, b) < 0;
    }
};

/// The whole of @p text as a number.
template <class T>
std::optional<T> Parsed(const std::wstring& text)
{
    const std::string ascii = str::as_cstring(text);
    T number{};
    const auto end = std::from_chars(ascii.data(), ascii.data() + ascii.size(), number);
    if (end.ec != std::errc() || end.ptr != ascii.data() + ascii.size())
        return std::nullopt;
    return number;
}

/// A whole number that fits both the signed and the unsigned reading of 32 bits.
std::optional<long long> Whole(const Value& value)
{
    if (const auto* number = std::get_if<std::uint32_t>(&value))
        return static_cast<std::int32_t>(*number);
    return Parsed<long long>(std::get<std::wstring>(value));
}

template <class T>
std::wstring Written(T number)
{
    char buffer[64];
    const auto end = std::to_chars(buffer, buffer + sizeof buffer, number);
    return {buffer, end.ptr};
}

void ReadAll(platform::RegistryKey key, std::map<std::wstring, Entry, IgnoringCase>& entries)
{
    for (const std::wstring& name : platform::RegistryValueNames(key))
    {
        std::uint32_t type = 0;
        std::string bytes;
        if (platform::ReadRegistryValue(key, name, type, bytes) != 0)
            continue; // gone meanwhile
        if (type == platform::kRegistryText)
            entries[name] = {TextOf(bytes), false};
        else if (type == platform::kRegistryNumber && bytes.size() == sizeof(std::uint32_t))
            entries[name] = {static_cast<std::uint32_t>(NumberOf(bytes)), false};
    }
}
} // namespace

struct RegistryMirror::State
{
    RegistryPath path = StrativoCurrentUserPath(L"General");
    REGKEY_ACCESS_VIEW view = REGKEY_ACCESS_VIEW::view_32;
    std::map<std::wstring, Entry, IgnoringCase> entries;
    mutable std::mutex mutex;

    /// The value of @p name; null when there is none. The mutex is held.
    const Value* Find(const std::wstring& name) const
    {
        const auto at = entries.find(name);
        return at == entries.end() ? nullptr : &at->second.value;
    }

    bool Set(const std::wstring& name, Value value)
    {
        const std::lock_guard lock(mutex);
        entries[name] = {std::move(value), true};
        return true;
    }

    /// Reads a whole number within the bounds of T.
    template <class T>
    bool Get(const std::wstring& name, T& value, long long least, long long most) const
    {
        const std::lock_guard lock(mutex);
        const Value* const found = Find(name);
        const auto number = found == nullptr ? std::nullopt : Whole(*found);
        if (!number || *number < least || *number > most)
            return false;
        value = static_cast<T>(*number);
        return true;
    }

    /// Opens the key for reading; null when it is not there.
    platform::RegistryKey Open() const
    {
        platform::RegistryKey key = nullptr;
        const auto access = platform::kRegistryRead | static_cast<std::uint32_t>(view);
        (void)platform::OpenRegistryKey(path.root, path.subkey, access, Host(), key);
        return key;
    }
};

RegistryMirror::RegistryMirror() : state_(std::make_unique<State>()) {}

RegistryMirror::~RegistryMirror() = default;

RegistryMirror& RegistryMirror::Instance()
{
    static RegistryMirror mirror;
    static constexpr auto lock = [] { Instance().state_->mutex.lock(); };
    static constexpr auto unlock = [] { Instance().state_->mutex.unlock(); };
    static constinit platform::ForkHandler forkHandler{platform::ForkRank::service, lock, unlock,
                                                       unlock};
    platform::AddForkHandler(forkHandler);
    return mirror;
}

void RegistryMirror::Populate()
{
    const std::lock_guard lock(state_->mutex);
    state_->entries.clear();
    const platform::RegistryKey key = state_->Open();
    if (key == nullptr)
        return;
    ReadAll(key, state_->entries);
    platform::CloseRegistryKey(key);
}

gtl::status RegistryMirror::Persist()
{
    const std::lock_guard lock(state_->mutex);
    std::optional<Registry> registry; // made, and the key with it, only for a change
    for (auto& [name, entry] : state_->entries)
    {
        if (!entry.changed)
            continue;
        if (!registry)
            registry.emplace(state_->path, state_->view);
        const auto* const number = std::get_if<std::uint32_t>(&entry.value);
        gtl::status written =
            number != nullptr ? registry->WriteInt(name, static_cast<int>(*number), false)
                              : registry->WriteString(name, std::get<std::wstring>(entry.value));
        if (!written.ok())
            return written;
        entry.changed = false;
    }
    return {};
}

bool RegistryMirror::GetValue(const std::wstring& name, unsigned char& value) const
{
    return state_->Get(name, value, 0, std::numeric_limits<unsigned char>::max());
}

bool RegistryMirror::GetValue(const std::wstring& name, int& value) const
{
    return state_->Get(name, value, std::numeric_limits<int>::min(),
                       std::numeric_limits<int>::max());
}

bool RegistryMirror::GetValue(const std::wstring& name, unsigned long& value) const
{
    const std::lock_guard lock(state_->mutex);
    const Value* const found = state_->Find(name);
    if (found == nullptr)
        return false;
    if (const auto* number = std::get_if<std::uint32_t>(found))
        value = *number;
    else if (const auto parsed = Parsed<std::uint32_t>(std::get<std::wstring>(*found)))
        value = *parsed;
    else
        return false;
    return true;
}

bool RegistryMirror::GetValue(const std::wstring& name, float& value) const
{
    double number = 0;
    if (!GetValue(name, number))
        return false;
    value = static_cast<float>(number);
    return true;
}

bool RegistryMirror::GetValue(const std::wstring& name, double& value) const
{
    const std::lock_guard lock(state_->mutex);
    const Value* const found = state_->Find(name);
    if (found == nullptr)
        return false;
    if (const auto* number = std::get_if<std::uint32_t>(found))
        value = static_cast<std::int32_t>(*number);
    else if (const auto parsed = Parsed<double>(std::get<std::wstring>(*found)))
        value = *parsed;
    else
        return false;
    return true;
}

bool RegistryMirror::GetValue(const std::wstring& name, std::wstring& value) const
{
    const std::lock_guard lock(state_->mutex);
    const Value* const found = state_->Find(name);
    if (found == nullptr)
        return false;
    const auto* const number = std::get_if<std::uint32_t>(found);
    value = number != nullptr ? Written(static_cast<std::int32_t>(*number))
                              : std::get<std::wstring>(*found);
    return true;
}

bool RegistryMirror::GetValue(const std::wstring& name, bool& value) const
{
    int number = 0;
    if (!GetValue(name, number))
        return false;
    value = number != 0;
    return true;
}

bool RegistryMirror::SetValue(const std::wstring& name, const std::wstring& value)
{
    return state_->Set(name, value);
}

bool RegistryMirror::SetValue(const std::wstring& name, const wchar_t* value)
{
    return state_->Set(name, std::wstring(value));
}

bool RegistryMirror::SetValue(const std::wstring& name, int value)
{
    return state_->Set(name, static_cast<std::uint32_t>(value));
}

bool RegistryMirror::SetValue(const std::wstring& name, unsigned long value)
{
    if (value > std::numeric_limits<std::uint32_t>::max())
        return false;
    return state_->Set(name, static_cast<std::uint32_t>(value));
}

bool RegistryMirror::SetValue(const std::wstring& name, float value)
{
    return SetValue(name, static_cast<double>(value));
}

bool RegistryMirror::SetValue(const std::wstring& name, double value)
{
    return state_->Set(name, Written(value));
}

bool RegistryMirror::SetValue(const std::wstring& name, bool value)
{
    return SetValue(name, value ? 1 : 0);
}

bool RegistryMirror::IsValueInRegistry(const std::wstring& name) const
{
    const platform::RegistryKey key = state_->Open();
    std::uint32_t type = 0;
    std::string bytes;
    const bool there = key != nullptr && platform::ReadRegistryValue(key, name, type, bytes) == 0;
    platform::CloseRegistryKey(key);
    return there;
}

} // namespace sys::reg
