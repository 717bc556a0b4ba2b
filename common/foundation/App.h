/// @file
/// The library's interface to its host program: message texts.
#pragma once

#include "foundation/gtl_status.h"
#include "foundation/kvi_export.h"

#include <atomic>
#include <string>
#include <string_view>

/// The hosting application as the library sees it.
///
/// Operations are fixed by their position: MessageText is the seventh. There is no virtual
/// destructor, which would take two positions with some compilers and one with others; the
/// application is never destroyed through this interface. Threads: any.
class KVI_API IApp
{
public:
    /// Full path of the process's executable.
    virtual std::wstring ProgramPath() const = 0;
    /// Its file name without folder and extension.
    virtual std::wstring ProgramName() const = 0;
    /// The module that message texts come from: a module handle, or one of the dynamic linker;
    /// null is the process's executable.
    virtual void* ResourceModule() const = 0;
    /// Full path of that module's file.
    virtual std::wstring ResourceModulePath() const = 0;
    /// Whether @p module (null is the executable) contains message texts.
    virtual bool HasMessages(void* module) const = 0;
    /// Whether the resource module has a text for @p code.
    virtual bool HasMessageText(unsigned code) const = 0;
    /// The message template with @p code, at most 2047 characters; empty when there is none.
    virtual std::wstring MessageText(unsigned code) const = 0;

protected:
    IApp() = default;
    ~IApp() = default;
    IApp(const IApp&) = delete;
    IApp& operator=(const IApp&) = delete;
};

/// The library's own application object. Its further operations are fixed by position too:
/// SetResourceModule is the eleventh, counted through IApp's.
// NOLINTNEXTLINE(cppcoreguidelines-virtual-class-destructor): a virtual one would shift positions
class KVI_API AppImpl final : public IApp
{
public:
    AppImpl();

    std::wstring ProgramPath() const override;
    std::wstring ProgramName() const override;
    void* ResourceModule() const override;
    std::wstring ResourceModulePath() const override;
    bool HasMessages(void* module) const override;
    bool HasMessageText(unsigned code) const override;
    std::wstring MessageText(unsigned code) const override;

    /// Text @p code of another module than the resource module; empty when there is none.
    virtual std::wstring MessageTextOf(void* module, unsigned code) const;
    /// Loads the library @p path, for good, and takes message texts from it.
    /// @returns ok, or the library's name and the system's reason (code 20503); the resource module
    ///          is then unchanged
    virtual gtl::status LoadResourceModule(const std::wstring& path);
    /// Takes message texts from the process's executable again.
    virtual void ResetResourceModule();
    /// Takes message texts from @p module, which must stay loaded; null is the process's
    /// executable. Statuses that exist keep their texts.
    virtual void SetResourceModule(void* module);

    /// Adds a plug-in's own texts, for codes that the resource module lacks.
    /// @param address  of a function or object in the plug-in
    /// @returns false when no table is found there, or 16 plug-ins are known already
    bool AddTextsOf(const void* address);
    /// Removes them; to be called before the plug-in is unloaded.
    void RemoveTextsOf(const void* address);

    /// Gives the text for a code, ended by a zero, or null when it has none. The text lasts as long
    /// as the process. Called from any thread; must not throw.
    using TextFunction = const wchar_t* (*)(unsigned code);
    /// Makes @p function the first source of texts; null restores the initial state, the modules
    /// alone.
    void SetTextFunction(TextFunction function);

    /// MessageText without a copy: what the module holds for as long as it is loaded.
    std::wstring_view MessageTextView(unsigned code) const;
    /// The library's own English template with @p code, for hosts without texts; empty when the
    /// library raises no such code.
    static std::wstring_view EnglishText(unsigned code);

private:
    std::atomic<void*> module_;
    std::atomic<const void*> table_; // the texts of that module
    std::atomic<const void*> others_[16]{};
    std::atomic<TextFunction> function_{nullptr};
};

/// Access to the one application object.
class KVI_API App
{
public:
    /// Made on the first call, on any thread, also by constructors of static objects; it is usable
    /// until the process has ended, so that destructors of static objects may still report.
    static AppImpl& Instance();
};
