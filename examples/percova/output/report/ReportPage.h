/// @file
/// @internal The page of a report: headings, tables and pictures in HTML.
#pragma once

#include "output/report/StoredRun.h"

#include <ostream>
#include <string>
#include <vector>

namespace percova::report
{

/// A table as it is on the page.
struct PageTable
{
    struct Group
    {
        std::string title; ///< of its own row above the group; empty for none
        std::vector<std::vector<Cell>> rows;
    };
    std::vector<std::string> heads;
    std::vector<std::string> units; ///< below the heads; empty for none
    std::vector<Group> groups;
    std::size_t labels = 1; ///< columns on the left that are repeated where a wide table is split
    int digits = 5;         ///< of numbers; 0 for the shortest text that reads back the same
};

/// Writes the parts of a page that refers to no other file. Every text is escaped; the style sheet
/// is one for the screen and for A4.
class Page
{
public:
    explicit Page(std::ostream& out) : out_(out) {}

    void Begin(const std::string& title);
    void End();
    void Section(const std::string& title);
    void Heading(const std::string& text);
    /// @param kind  a class of the style sheet, empty for none
    void Paragraph(const std::string& text, const char* kind = "");
    void List(const std::vector<std::string>& items);
    /// A table that is too wide for the paper becomes several below each other.
    void Table(const PageTable& table);
    /// @param svg  see InlinePicture
    void Figure(const std::string& svg, const char* kind, const std::string& caption);
    /// Text whose lines and blanks are kept.
    void Source(const std::string& text);

private:
    void Columns(const PageTable& table, const std::vector<std::size_t>& columns);

    std::ostream& out_;
};

/// Text of unknown origin in HTML: on one line, escaped.
std::string Html(const std::string& text);

/// Turns a picture that percova wrote into a part of a page: its styles hold only within elements
/// of class @p kind. A picture with elements that percova does not write, with scripts or
/// references, or one that is not whole, is refused.
/// @returns false with @p reason when it is refused
bool InlinePicture(const std::string& svg, const std::string& kind, std::string& part,
                   std::string& reason);

} // namespace percova::report
