#include "output/files/Csv.h"

#include "problem/Shown.h"

#include <string_view>

namespace percova
{

std::string CsvField(std::string text)
{
    text = Shown(text);
    if (!text.empty() && std::string_view("=+-@").find(text[0]) != std::string_view::npos)
        text.insert(0, 1, '\'');
    if (text.find_first_of(",\"\r\n") == std::string::npos)
        return text;
    for (std::size_t at = text.find('"'); at != std::string::npos; at = text.find('"', at + 2))
        text.insert(at, 1, '"');
    return '"' + text + '"';
}

std::string CsvLine(const std::vector<std::string>& fields)
{
    std::string line;
    for (std::size_t i = 0; i < fields.size(); ++i)
        line += (i == 0 ? "" : ",") + fields[i];
    return line;
}

} // namespace percova
