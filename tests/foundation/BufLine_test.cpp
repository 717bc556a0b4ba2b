#include "foundation/BufLine.h"
#include "foundation/StrClear.h"
#include "foundation/StripBlank.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace
{
std::string After(void (*routine)(char*), std::string text)
{
    routine(text.data());
    return text.c_str();
}

TEST(StrClear, FillsWithBlanksAndClosesBothEnds)
{
    char buffer[] = "?abcd?";
    StrClear(buffer + 1, 4);
    EXPECT_EQ(std::string(buffer, 6), std::string("?\0  \0?", 6));
    StrClear(buffer + 5, 0); // both stores happen all the same
    EXPECT_EQ(std::string(buffer, 6), std::string("?\0  \0\0", 6));
}

TEST(StripBlank, LeavesAnAllBlankTextToTheTrailingStrip)
{
    EXPECT_EQ(After(StripLdBlank, " \t a b "), "a b ");
    EXPECT_EQ(After(StripLdBlank, "   "), "   ");
    EXPECT_EQ(After(StripLdBlank, ""), "");
    const std::pair<const char*, int> rows[] = {{"   ", -1}, {"", -1}, {" a \t", 1}, {"ab", 1}};
    for (const auto& [text, last] : rows)
    {
        std::string s(text);
        EXPECT_EQ(StripTrBlank(s.data()), last) << text;
        EXPECT_EQ(std::string(s.c_str()), s.substr(0, static_cast<std::size_t>(last + 1)));
    }
}

TEST(StripFileNameQuotes, TakesOneQuoteOffEachEnd)
{
    const std::pair<const char*, const char*> rows[] = {
        {"\t\"C:\\a b.txt\" ", "C:\\a b.txt"}, {"\"open", "open"}, {"\"", ""},
        {"\" a\"\"b \"", " a\"\"b "},          {"plain", "plain"}, {"", ""},
    };
    for (const auto& [text, stripped] : rows)
        EXPECT_EQ(After(StripFileNameQuotes, text), stripped);
}

std::vector<std::string> Lines(const std::string& text, int size, const ReadBufSettings& settings)
{
    std::vector<std::string> lines;
    std::vector<char> line(static_cast<std::size_t>(size));
    const char* at = text.data();
    while (ReadBufLine(line.data(), size, &at, text.data() + text.size(), settings) >= 0)
        lines.emplace_back(line.data());
    return lines;
}

TEST(BufLine, ReadsLinesByItsSettings)
{
    using V = std::vector<std::string>;
    const std::string text("one \r\n\n  two ! c\rt\0w\n! c", 24);
    EXPECT_EQ(Lines(text, 80, rbfDefault), (V{"one", "", "  two ! c", "t w", "! c"}));
    EXPECT_EQ(Lines(text, 80, {'!', true, true, true}), (V{"one", "two", "t w"}));
    EXPECT_EQ(Lines(text, 4, {'!', true, true, true}), (V{"one", "two", "t w"}));
    EXPECT_EQ(Lines("abcdef\nx\n", 4, rbfDefault), (V{"abc", "x"})); // cut, the rest passed over
    EXPECT_EQ(Lines("", 4, rbfDefault), V{});
    char line[4];
    const char* at = "abcdef";
    EXPECT_EQ(ReadBufLine(line, 4, &at, at + 6), 6); // reports the truncation
}

TEST(BufLine, WritesLinesThatFitWhole)
{
    char buffer[13] = "";
    int used = 0;
    EXPECT_TRUE(WriteBufLine(buffer, 12, &used, "abc") &&
                WriteBufLine2(buffer, 12, &used, "de", "fgh"));
    EXPECT_FALSE(WriteBufLine(buffer, 12, &used, ""));
    EXPECT_STREQ(buffer, "abc\nde fgh\n");
    EXPECT_EQ(used, 11);
}
} // namespace
