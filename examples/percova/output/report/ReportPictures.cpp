// Pictures inside a page: only what percova itself draws, its styles kept within the picture.
#include "output/report/ReportPage.h"
#include "problem/Shown.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace percova::report
{
namespace
{

constexpr std::array<std::string_view, 13> kElements{
    "svg",  "style",    "g",       "path",  "rect",    "text",  "circle",
    "line", "polyline", "polygon", "tspan", "ellipse", "marker"};

bool IsNameLetter(char c)
{
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '-' ||
           c == ':' || c == '_';
}

bool IsBlank(char c) { return c == ' ' || c == '\n' || c == '\r' || c == '\t'; }

bool Contains(std::string_view text, std::string_view what)
{
    const auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? char(c - 'A' + 'a') : c; };
    return std::search(text.begin(), text.end(), what.begin(), what.end(),
                       [&](char a, char b) { return lower(a) == lower(b); }) != text.end();
}

/// Reads a picture tag by tag; any fault ends it with a reason.
class Scanner
{
public:
    Scanner(std::string_view text, const std::string& kind) : rest_(text), kind_(kind) {}

    bool Scan(std::string& part, std::string& reason)
    {
        while (!rest_.empty() && reason_.empty())
            if (rest_.front() == '<')
                Tag();
            else
                Text();
        if (reason_.empty() && (!open_.empty() || !hasPicture_))
            reason_ = "is not whole";
        reason = reason_;
        part = reason_.empty() ? part_ : std::string();
        return reason_.empty();
    }

private:
    /// Cuts the first @p size characters off and passes them on.
    std::string_view Take(std::size_t size)
    {
        const std::string_view taken = rest_.substr(0, size);
        rest_.remove_prefix(taken.size());
        part_ += taken;
        return taken;
    }
    std::string_view TakeName()
    {
        const auto end = std::find_if_not(rest_.begin(), rest_.end(), IsNameLetter);
        return Take(std::size_t(end - rest_.begin()));
    }
    void TakeBlanks()
    {
        const auto end = std::find_if_not(rest_.begin(), rest_.end(), IsBlank);
        Take(std::size_t(end - rest_.begin()));
    }

    void Text()
    {
        const std::string_view text = rest_.substr(0, rest_.find('<'));
        rest_.remove_prefix(text.size());
        // Names in a picture may turn the direction of writing.
        part_ += !open_.empty() && open_.back() == "text" ? Shown(text) : std::string(text);
        if (open_.empty() && !std::all_of(text.begin(), text.end(), IsBlank))
            reason_ = "has text outside of the drawing";
    }

    void Tag()
    {
        if (rest_.starts_with("</"))
        {
            Take(2);
            const std::string_view name = TakeName();
            if (open_.empty() || open_.back() != name || !rest_.starts_with('>'))
                reason_ = "is not whole";
            else
                open_.pop_back();
            Take(1);
            return;
        }
        Take(1);
        const std::string_view name = TakeName();
        if (std::find(kElements.begin(), kElements.end(), name) == kElements.end() ||
            (open_.empty() && (name != "svg" || hasPicture_)))
        {
            reason_ = "has elements that percova does not write";
            return;
        }
        hasPicture_ = true;
        Attributes();
        if (rest_.starts_with("/>"))
            Take(2);
        else if (rest_.starts_with('>'))
        {
            Take(1);
            open_.push_back(name);
            if (name == "style")
                Style();
        }
        else if (reason_.empty())
            reason_ = "is not whole";
    }

    void Attributes()
    {
        for (TakeBlanks(); reason_.empty() && !rest_.empty() && IsNameLetter(rest_.front());
             TakeBlanks())
        {
            const std::string_view name = TakeName();
            const std::size_t end = rest_.starts_with("=\"") ? rest_.find('"', 2) : rest_.npos;
            if (end == rest_.npos)
            {
                reason_ = "is not whole";
                return;
            }
            const std::string_view value = Take(end + 1);
            if (Contains(name.substr(0, 2), "on") || Contains(name, "href") ||
                Contains(name, "style") || Contains(value, "url(") || Contains(value, "script:") ||
                value.find('<') != value.npos)
                reason_ = "has attributes that percova does not write";
        }
    }

    /// Every selector holds only within the class of the picture.
    void Style()
    {
        const std::size_t end = rest_.find('<');
        const std::string_view sheet = rest_.substr(0, end);
        if (end == rest_.npos || Contains(sheet, "url(") ||
            sheet.find_first_of("@\\&") != sheet.npos)
        {
            reason_ = "has a style sheet that percova does not write";
            return;
        }
        bool isSelector = true, isFirst = true;
        for (const char c : sheet)
        {
            if (isSelector && isFirst && !IsBlank(c))
            {
                part_ += '.' + kind_ + ' ';
                isFirst = false;
            }
            part_ += c;
            if (c == '{' || c == '}')
                isSelector = c == '}';
            isFirst = isFirst || c == '}' || (isSelector && c == ',');
        }
        rest_.remove_prefix(end);
    }

    std::string_view rest_; ///< not passed on yet
    std::string kind_, part_, reason_;
    std::vector<std::string_view> open_; ///< elements
    bool hasPicture_ = false;
};

} // namespace

bool InlinePicture(const std::string& svg, const std::string& kind, std::string& part,
                   std::string& reason)
{
    return Scanner(svg, kind).Scan(part, reason);
}

} // namespace percova::report
