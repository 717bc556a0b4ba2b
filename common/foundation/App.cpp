#include "foundation/App.h"

#include "platform/platform_fork.h"
#include "platform/platform_library.h"
#include "platform/platform_strings.h"

#include <new>

namespace
{
// A forked child finds the application object constructed: it must not wait for a thread that it
// does not have.
constinit platform::ForkHandler forkHandler{platform::ForkRank::text, [] { (void)App::Instance(); },
                                            nullptr, nullptr};
const bool kForkHandled = platform::AddForkHandler(forkHandler);
} // namespace

AppImpl::AppImpl() : module_(nullptr), table_(platform::FindStringTable(nullptr)) {}

std::wstring AppImpl::ProgramPath() const { return platform::ModulePath(nullptr); }

std::wstring AppImpl::ProgramName() const
{
    const std::wstring path = ProgramPath();
    const std::size_t slash = path.find_last_of(L"\\/");
    const std::wstring name = path.substr(slash == std::wstring::npos ? 0 : slash + 1);
    const std::size_t dot = name.rfind(L'.');
    return dot == std::wstring::npos || dot == 0 ? name : name.substr(0, dot);
}

void* AppImpl::ResourceModule() const { return module_; }

std::wstring AppImpl::ResourceModulePath() const { return platform::ModulePath(module_); }

bool AppImpl::HasMessages(void* module) const
{
    return platform::FindStringTable(module) != nullptr;
}

bool AppImpl::HasMessageText(unsigned code) const { return !MessageTextView(code).empty(); }

std::wstring AppImpl::MessageText(unsigned code) const
{
    return std::wstring(MessageTextView(code));
}

std::wstring_view AppImpl::MessageTextView(unsigned code) const
{
    const TextFunction function = function_;
    if (const wchar_t* const own = function != nullptr ? function(code) : nullptr)
        return std::wstring_view(own).substr(0, platform::kTextLimit);
    std::wstring_view text = platform::StringTableText(table_, code);
    for (const auto& other : others_)
    {
        if (!text.empty())
            break;
        text = platform::StringTableText(other, code);
    }
    return text;
}

bool AppImpl::AddTextsOf(const void* address)
{
    const void* const table = platform::FindStringTableAt(address);
    if (table == nullptr)
        return false;
    for (auto& other : others_)
    {
        const void* free = nullptr;
        if (other == table || other.compare_exchange_strong(free, table))
            return true;
    }
    return false;
}

void AppImpl::RemoveTextsOf(const void* address)
{
    const void* const table = platform::FindStringTableAt(address);
    for (auto& other : others_)
    {
        const void* found = table;
        other.compare_exchange_strong(found, nullptr);
    }
}

void AppImpl::SetTextFunction(TextFunction function) { function_ = function; }

std::wstring AppImpl::MessageTextOf(void* module, unsigned code) const
{
    return std::wstring(platform::StringTableText(platform::FindStringTable(module), code));
}

gtl::status AppImpl::LoadResourceModule(const std::wstring& path)
{
    std::wstring reason;
    void* const module = platform::LoadModule(path, platform::SymbolScope::own, &reason);
    if (module == nullptr)
        return gtl::status(20503, path, reason);
    SetResourceModule(module);
    return {};
}

void AppImpl::ResetResourceModule() { SetResourceModule(nullptr); }

void AppImpl::SetResourceModule(void* module)
{
    module_ = module;
    table_ = platform::FindStringTable(module);
}

AppImpl& App::Instance()
{
    // Never destroyed: it owns nothing, and late callers still find it.
    alignas(AppImpl) static unsigned char memory[sizeof(AppImpl)];
    static AppImpl* const app = new (memory) AppImpl;
    return *app;
}
