#include "sys/sys_file_ValidName.h"

#include <gtest/gtest.h>

#include <random>

using namespace sys::file;

TEST(ValidName, WritesWhatNamesMayNotHold)
{
    const std::pair<std::wstring, std::wstring> rows[] = {
        {L"a:b?", L"a&4b&7"}, {L"con", L"&con"},
        {L"CoM9", L"&CoM9"},  {L"clock$", L"&clock$"},
        {L"COM0", L"COM0"},   {L"CON.txt", L"CON.txt"},
        {L"x ", L"x&_"},      {L" x", L" x"},
        {L"a&b", L"a&1b"},    {L"\"&*/:<>?\\|", L"&0&1&2&3&4&5&6&7&8&9"},
        {L"", L""},
    };
    for (const auto& [text, name] : rows)
    {
        EXPECT_EQ(StringToValidFileName(text), name);
        EXPECT_EQ(ValidFileNameToString(name), text);
    }
}

TEST(ValidName, KnowsEveryDevice)
{
    for (const wchar_t* name : {L"con", L"CON.txt", L"nul .a.b", L"conIN$", L"CONOUT$:x",
                                L"com\u00B9", L"LPT\u00B3.x", L"com9"})
        EXPECT_TRUE(IsDeviceName(name)) << name;
    for (const wchar_t* name : {L"", L".con", L"cone", L"com0", L"com\u2074", L"conin"})
        EXPECT_FALSE(IsDeviceName(name)) << name;
}

TEST(ValidName, DropsEscapesThatMeanNothing)
{
    const std::pair<std::wstring, std::wstring> rows[] = {
        {L"a&", L"a"}, {L"&2x", L"x"}, {L"&_&x&&", L" x&"}, {L"&0&1", L"!&"}};
    for (const auto& [name, text] : rows)
        EXPECT_EQ(ValidEscapedNameToString(name, L"!&"), text);
    EXPECT_EQ(StringToValidEscapedName(L"a!b&", L"!&"), L"a&0b&1");
}

TEST(ValidName, ComesBackFromEveryText)
{
    // Mostly the letters that matter, and code units that are no characters alone.
    const std::wstring letters = L"\"&*/:<>?\\|_ 0189aCON\u00e9\xD83D\xDE00";
    std::mt19937 random(4);
    for (int i = 0; i < 20000; ++i)
    {
        std::wstring text;
        for (auto n = random() % 7; n > 0; --n)
            text += random() % 20 == 0 ? static_cast<wchar_t>(random() % 0xFFFF)
                                       : letters[random() % letters.size()];
        const std::wstring name = StringToValidFileName(text);
        ASSERT_EQ(ValidFileNameToString(name), text);
        ASSERT_EQ(name.find_first_of(L"\"*/:<>?\\|"), std::wstring::npos);
        ASSERT_FALSE(name.ends_with(L' '));
    }
}
