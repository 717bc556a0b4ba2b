#include "doc/doc_file_Name.h"

#include "foundation/str.h"
#include "sys/sys_file_SplitPath.h"

#include <algorithm>
#include <string_view>

namespace doc::file
{
namespace
{
using std::wstring_view;
using str::compare_ignore_case;
using sys::file::SplitPath;

constexpr wchar_t kDigits[] = L"0123456789";

/// Which of two numbers in decimal digits is smaller, whatever their length.
int CompareNumbers(wstring_view a, wstring_view b)
{
    a.remove_prefix(std::min(a.find_first_not_of(L'0'), a.size()));
    b.remove_prefix(std::min(b.find_first_not_of(L'0'), b.size()));
    if (a.size() != b.size())
        return a.size() < b.size() ? -1 : 1;
    const int order = a.compare(b);
    return order == 0 ? 0 : order < 0 ? -1 : 1;
}

/// The digits of @p text from @p at on.
wstring_view NumberAt(wstring_view text, std::size_t at)
{
    text.remove_prefix(at);
    return text.substr(0, text.find_first_not_of(kDigits));
}

int CompareExtensions(wstring_view a, wstring_view b)
{
    const std::size_t at = a.find_first_of(kDigits);
    if (at == wstring_view::npos || at != b.find_first_of(kDigits))
        return compare_ignore_case(a, b);
    const int letters = compare_ignore_case(a.substr(0, at), b.substr(0, at));
    return letters != 0 ? letters : CompareNumbers(NumberAt(a, at), NumberAt(b, at));
}

template <class Number>
int CompareValues(Number a, Number b)
{
    return a == b ? 0 : a < b ? -1 : 1;
}

bool IsSameText(wstring_view a, wstring_view b) { return compare_ignore_case(a, b) == 0; }

/// Whether @p text matches @p pattern, with any letters, or none, for each "*".
bool IsLike(wstring_view text, wstring_view pattern)
{
    const std::size_t star = pattern.find(L'*');
    if (star == wstring_view::npos)
        return IsSameText(text, pattern);
    const wstring_view head = pattern.substr(0, star);
    if (text.size() < star || !IsSameText(text.substr(0, star), head))
        return false;
    text.remove_prefix(star);
    pattern.remove_prefix(star + 1);
    // Each piece between two stars is taken where it occurs first; the last one ends the text.
    for (std::size_t next = 0; (next = pattern.find(L'*')) != wstring_view::npos;)
    {
        const wstring_view piece = pattern.substr(0, next);
        while (text.size() >= piece.size() && !IsSameText(text.substr(0, piece.size()), piece))
            text.remove_prefix(1);
        if (text.size() < piece.size())
            return false;
        text.remove_prefix(piece.size());
        pattern.remove_prefix(next + 1);
    }
    return text.size() >= pattern.size() &&
           IsSameText(text.substr(text.size() - pattern.size()), pattern);
}

bool IsExtensionLike(wstring_view ext, wstring_view pattern)
{
    return pattern == L".*" || IsLike(ext, pattern);
}

/// @p path with @p text as the part @p part.
std::wstring WithPart(const std::wstring& path, std::wstring SplitPath::*part,
                      const std::wstring& text)
{
    SplitPath parts(path);
    parts.*part = text;
    return parts.Path();
}
} // namespace

Name& Name::ProjectPath(const std::wstring& path)
{
    projectPath_ = path;
    std::replace(projectPath_.begin(), projectPath_.end(), L'/', L'\\');
    return *this;
}

Name& Name::ProjectDirectory(const std::wstring& dir)
{
    return ProjectPath(WithPart(projectPath_, &SplitPath::dir, dir));
}

Name& Name::ProjectFName(const std::wstring& name)
{
    return ProjectPath(WithPart(projectPath_, &SplitPath::fname, name));
}

Name& Name::ProjectExt(const std::wstring& ext)
{
    return ProjectPath(WithPart(projectPath_, &SplitPath::ext, ext));
}

Name& Name::Analysis(const std::wstring& name)
{
    analysis_ = name;
    return *this;
}

Name& Name::Run(std::uint32_t run)
{
    run_ = run;
    return *this;
}

Name& Name::Step(const ::Step& step)
{
    step_ = step;
    return *this;
}

Name& Name::FName(const std::wstring& name)
{
    fname_ = name;
    return *this;
}

Name& Name::Ext(const std::wstring& ext)
{
    ext_ = ext;
    return *this;
}

Name& Name::FNameExt(const std::wstring& text)
{
    const SplitPath file = SplitPath().FNameExt(text);
    return FName(file.fname).Ext(file.ext);
}

Name& Name::AllAnalyses() { return Analysis(L"*"); }
Name& Name::AllSteps() { return Step(kvi::step::All()); }
Name& Name::AllFiles() { return FName(L"*").Ext({}); }
Name& Name::AllExt() { return Ext(L".*"); }
Name& Name::ClearAnalysis() { return Analysis({}); }
Name& Name::Clear() { return *this = Name(); }

std::wstring Name::ProjectDirectory() const { return SplitPath(projectPath_).dir; }
std::wstring Name::ProjectFName() const { return SplitPath(projectPath_).fname; }
std::wstring Name::ProjectExt() const { return SplitPath(projectPath_).ext; }

std::wstring Name::ProjectFNameExt() const
{
    const SplitPath path(projectPath_);
    return path.fname + path.ext;
}

std::wstring Name::Description() const
{
    std::wstring text = projectPath_;
    if (!text.empty() && (!analysis_.empty() || !FNameExt().empty()))
        text += L'\\';
    if (!analysis_.empty())
    {
        text += analysis_;
        if (run_ != kNoRun)
            text += L" (" + std::to_wstring(run_) + L')';
        text += L'\\' + StepFolder();
    }
    return text + FNameExt();
}

std::wstring Name::StepFolder() const
{
    if (analysis_.empty())
        return {};
    const StepNumber number = step_.AsStepNumber();
    if (number.value >= 0 && ext_.find(L'*') == std::wstring::npos)
        return std::to_wstring(number.value) + L'\\';
    return IsMultiSelectStep() ? L"*\\" : L"";
}

bool Name::Selects(const Name& name) const
{
    if (!IsSameText(projectPath_, name.projectPath_))
        return false;
    const bool anyRun = IsMultiSelectAnalyses() && run_ == kNoRun;
    if (IsMultiSelectAnalyses() ? name.analysis_.empty() : !IsSameText(analysis_, name.analysis_))
        return false;
    if (run_ != name.run_ && !anyRun)
        return false;
    const bool sameStep =
        step_ == name.step_ ||
        (step_.AsStepNumber().value >= 0 && step_.AsStepNumber() == name.step_.AsStepNumber());
    if (IsMultiSelectStep() ? name.step_ == ::Step() : !sameStep)
        return false;
    // The same text may be split differently: "a" and ".b.c", "a.b" and ".c".
    if (IsMultiSelectAllFiles() || IsSameText(FNameExt(), name.FNameExt()))
        return true;
    return (fname_ == L"*" || IsSameText(fname_, name.fname_)) && IsExtensionLike(name.ext_, ext_);
}

int Name::Compare(const Name& other) const
{
    if (const int order = compare_ignore_case(projectPath_, other.projectPath_); order != 0)
        return order;
    if (const int order = compare_ignore_case(analysis_, other.analysis_); order != 0)
        return order;
    if (const int order = CompareValues(run_, other.run_); order != 0)
        return order;
    if (const int order = CompareValues(step_.raw_int(), other.step_.raw_int()); order != 0)
        return order;
    if (const int order = compare_ignore_case(fname_, other.fname_); order != 0)
        return order;
    return CompareExtensions(ext_, other.ext_);
}

} // namespace doc::file
