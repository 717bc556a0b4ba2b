#include "sys/sys_reg_Registry.h"
#include "sys/sys_reg_key.h"

#include <limits>

using namespace sys::reg;
using sys_test::Count;
using Rights = REGKEY_ACCESS_RIGHTS;
using View = REGKEY_ACCESS_VIEW;
using RegistryKeys = sys_test::RegistryTest;

TEST(RegistryPath, NamesTheKeysOfTheSuite)
{
    EXPECT_EQ(ConcatenatePath(L"a", L"b", L"c", L"d", L"e"), L"a\\b\\c\\d\\e");
    EXPECT_EQ(StrativoCurrentUserPath().subkey, L"Software\\KORVANE\\Strativo 8");
    EXPECT_EQ(StrativoCurrentUserPath(L"x").subkey, L"Software\\KORVANE\\Strativo 8\\x");
    EXPECT_EQ(StrativoLocalMachinePath(L"x").subkey, L"Software\\KORVANE\\Strativo 8\\x");
    EXPECT_EQ(StrativoResourcesPath().subkey, L"Software\\KORVANE\\Strativo 8 Resources");
    EXPECT_EQ(WebServicesPath().subkey, L"Software\\KORVANE\\WebServices");
    EXPECT_EQ(StrativoCurrentUserPath(L"x").root, CurrentUser());
    EXPECT_EQ(WebServicesPath().root, StrativoLocalMachinePath().root);
    EXPECT_NE(CurrentUser(), LocalMachine());
}

TEST_F(RegistryKeys, AreMadeByTheFirstWriteOnly)
{
    Registry key(path, View::view_32);
    EXPECT_EQ(key.GetAccessRights(), Rights::none);
    EXPECT_EQ(key.AccessView(), View::view_32);
    EXPECT_EQ(key.ReadInt(L"n", 7), 7);
    EXPECT_EQ(key.ReadString(L"n"), "");
    EXPECT_TRUE(key.ReadBool(L"n", true));
    EXPECT_TRUE(key.DeleteValue(L"n").ok());
    EXPECT_TRUE(key.GetAllValues().empty());
    const gtl::status missing = key.ValueExists(L"n");
    ASSERT_FALSE(missing.ok());
    EXPECT_EQ(missing.details()->argument(1), L"RegOpenKeyEx");
    EXPECT_EQ(Count(folder), 0); // no file either
    EXPECT_EQ(Registry(path, View::view_32).GetAccessRights(), Rights::none);

    EXPECT_TRUE(key.WriteInt(L"n", 42, false).ok());
    EXPECT_EQ(key.GetAccessRights(), Rights::read_write);
    EXPECT_EQ(key.GetAllValues(), std::vector<std::wstring>{L"n"});
    EXPECT_EQ(Registry(path, View::view_32).ReadInt(L"n", 7), 42);
    EXPECT_TRUE(key.DeleteValue("n").ok());
    EXPECT_TRUE(key.GetAllValues().empty());
}

TEST_F(RegistryKeys, DistinguishAStoredValueFromADefault)
{
    Registry32 key(path);
    int number = 7;
    double real = 7;
    std::wstring text = L"7";
    const auto refused = [&](const gtl::status& status) {
        return !status.ok() && status.details()->argument(2).find(path.subkey + L"\\v: ") == 0;
    };
    EXPECT_TRUE(refused(key.GetInt(L"v", number)) && refused(key.GetString(L"v", text)));
    ASSERT_TRUE(key.WriteString(L"v", std::wstring(L"x")).ok());
    EXPECT_TRUE(refused(key.GetInt(L"v", number)) && refused(key.GetDouble(L"v", real)));
    EXPECT_EQ(key.ReadDouble(L"v", 1.5), 1.5);
    EXPECT_EQ(std::to_wstring(number) + std::to_wstring(int(real)) + text, L"777");
    for (const double value : {0.1, -1e-300, 12345678901.25})
    {
        ASSERT_TRUE(key.WriteDouble(L"v", value).ok());
        EXPECT_TRUE(key.GetDouble(L"v", real).ok() && real == value);
        EXPECT_EQ(key.ReadDouble(L"v", 7), value);
    }
    ASSERT_TRUE(key.WriteInt(L"v", -5, false).ok());
    EXPECT_TRUE(key.GetDouble(L"v", real).ok() && key.GetInt(L"v", number).ok());
    EXPECT_TRUE(real == -5 && number == -5 && refused(key.GetString(L"v", text)));
}

TEST_F(RegistryKeys, GiveBackWhatWasWritten)
{
    Registry32 key(path);
    const std::wstring wide = L"\u00e9 \u6c34 \U0001F600", longText(5000, L'x');
    for (const int number : {0, -1, 42, std::numeric_limits<int>::min()})
    {
        EXPECT_TRUE(key.WriteInt(L"number", number, false).ok());
        EXPECT_TRUE(key.WriteInt(L"text", number, true).ok());
        EXPECT_EQ(key.ReadInt(L"number", 7), number);
        EXPECT_EQ(key.ReadInt(L"text", 7), number);
        EXPECT_EQ(key.ReadStringW(L"text"), std::to_wstring(number));
        EXPECT_EQ(key.ReadString(L"number"), "");
    }
    EXPECT_TRUE(key.WriteBool(L"bool", true, true).ok());
    EXPECT_TRUE(key.ReadBool(L"bool", false));
    EXPECT_TRUE(key.WriteString(L"wide", wide).ok());
    EXPECT_EQ(key.ReadStringW(L"wide"), wide);
    EXPECT_TRUE(key.WriteString("narrow", std::string("abc")).ok());
    EXPECT_EQ(key.ReadString(L"narrow"), "abc");
    EXPECT_TRUE(key.WriteString(12u, longText).ok());
    EXPECT_EQ(key.ReadStringW(L"12"), longText);
    EXPECT_EQ(key.ReadString(12u), ""); // more than 2047 bytes
    EXPECT_TRUE(key.WriteString(12u, std::wstring(2047, L'x')).ok());
    EXPECT_EQ(key.ReadString(12u).size(), 2047u);
    EXPECT_TRUE(key.WriteString(L"", L"unnamed").ok());
    EXPECT_EQ(key.ReadString(L""), "unnamed");
}

TEST_F(RegistryKeys, ReadOtherTypesAndBrokenTextByTheirRules)
{
    Store(L"binary", platform::kRegistryBinary, std::string_view("\1\0\0\0", 4));
    Store(L"unended", platform::kRegistryText, std::string_view("5\0x\0", 4));
    Store(L"odd", platform::kRegistryText, std::string_view("5\0x", 3));
    Store(L"none", platform::kRegistryText, "");
    Store(L"words", platform::kRegistryText, std::string_view(" \0x\0\0\0", 6));
    const Registry key(path, View::of_process);
    EXPECT_EQ(key.ReadInt(L"binary", 9), 9);
    EXPECT_EQ(key.ReadStringW(L"binary"), L"");
    EXPECT_EQ(key.ReadStringW(L"unended"), L"5x");
    EXPECT_EQ(key.ReadInt(L"unended", 9), 5);
    EXPECT_EQ(key.ReadStringW(L"odd"), L"5");
    EXPECT_EQ(key.ReadStringW(L"none"), L"");
    EXPECT_EQ(key.ReadInt(L"words", 9), 9);
    EXPECT_TRUE(key.ValueExists(L"binary").ok());
}

TEST_F(RegistryKeys, KnowNamesInAnyCaseAndKeepTheirOrder)
{
    Registry key(path, View::of_process);
    for (const wchar_t* name : {L"b", L"a", L"\u00c4c"})
        EXPECT_TRUE(key.WriteInt(name, 1, false).ok());
    EXPECT_TRUE(key.WriteInt(L"B", 2, false).ok());
    EXPECT_EQ(key.ReadInt(L"b", 0), 2);
    EXPECT_EQ(key.ReadInt(L"\u00e4C", 0), 1);
    path.subkey[0] = L's';
    EXPECT_EQ(Registry(path, View::of_process).ReadInt(L"A", 0), 1);
    const std::vector<std::wstring> names = key.GetAllValues();
    ASSERT_EQ(names.size(), 3u);
    if (!sys_test::kWindows) // as Windows itself; Wine sorts
        EXPECT_EQ(names, (std::vector<std::wstring>{L"b", L"a", L"\u00c4c"}));
    EXPECT_TRUE(key.DeleteValue(L"A").ok());
    EXPECT_FALSE(key.DeleteValue(L"A").ok());
    EXPECT_EQ(key.GetAllValues().size(), 2u);
}

TEST_F(RegistryKeys, HaveViewsApartForTheMachinesSoftwareOnly)
{
    // A 32-bit Windows has one view.
    const bool views = !sys_test::kWindows || sizeof(void*) == 8;
    for (const bool software : {true, false})
    {
        path.root = software ? LocalMachine() : CurrentUser();
        path.subkey[0] = L's'; // in any case
        ASSERT_TRUE(Registry32(path).WriteInt(L"n", 32, false).ok());
        ASSERT_TRUE(Registry64(path).WriteInt(L"n", 64, false).ok());
        EXPECT_EQ(Registry32(path).ReadInt(L"n", 0), software && views ? 32 : 64);
        EXPECT_EQ(Registry64(path).ReadInt(L"n", 0), 64);
        EXPECT_EQ(Registry(path, View::of_process).ReadInt(L"n", 0), 64);
    }
}

TEST_F(RegistryKeys, AreMadePartByPartWhenTheSystemRefusesTheWhole)
{
    RegistryPath odd = path; // Windows refuses the backslash in front, but not the parts
    odd.subkey = L'\\' + path.subkey;
    EXPECT_TRUE(Registry(odd, View::of_process).WriteInt(L"n", 3, false).ok());
    EXPECT_EQ(Registry(path, View::of_process).ReadInt(L"n", 0), 3);
}

TEST_F(RegistryKeys, ScanTextWithinTheirDestinations)
{
    Registry key(path, View::of_process);
    ASSERT_TRUE(key.WriteString(L"v", L"12, -3.5e1 abcdef 0x1F 99999999999").ok());
    int whole = 0, saturated = 0;
    double real = 0;
    char word[4] = {'#', '#', '#', '#'};
    std::string rest;
    unsigned hex = 0;
    EXPECT_EQ(
        key.ReadString(L"v", "%d, %lf %s%s %x %d", &whole, &real, word, &rest, &hex, &saturated),
        6);
    EXPECT_EQ(whole, 12);
    EXPECT_EQ(real, -35.0);
    EXPECT_STREQ(word, "abc"); // three letters and the zero
    EXPECT_EQ(rest, "def");
    EXPECT_EQ(hex, 31u);
    EXPECT_EQ(saturated, std::numeric_limits<int>::max());
    EXPECT_EQ(key.ReadString(L"absent", "%d", &whole), 0);
}

TEST(Scan, FollowsItsFormat)
{
    int a = -1, b = -1;
    char letters[8] = "";
    std::string text;
    const auto scan = [&](const char* from, const char* format, auto... targets) {
        const ScanTarget list[] = {ScanTarget(targets)...};
        return Scan(from, format, list);
    };
    EXPECT_EQ(scan("12345", "%2d%d", &a, &b), 2);
    EXPECT_EQ(a * 1000 + b, 12345);
    EXPECT_EQ(scan("7 8", "%*d %d%n", &a, &b), 1);
    EXPECT_EQ(a * 10 + b, 83);
    EXPECT_EQ(scan("7.5 1f 8", "%*d%*f %*x %d", &a), 1); // skipped as what they are
    EXPECT_EQ(a, 8);
    EXPECT_EQ(scan("ab-c]9", "%[a-c-]%[^0-9]", &letters, &text), 2);
    EXPECT_EQ(letters + text, "ab-c]");
    EXPECT_EQ(scan("x y", "%c%c", &text, &letters), 2);
    EXPECT_EQ(text + letters, "x ");
    EXPECT_EQ(scan("5%6", "%d%%%i", &a, &b), 2);
    EXPECT_EQ(scan("010 0x10", "%i %i", &a, &b), 2);
    EXPECT_EQ(a * 100 + b, 816);
    // What does not fit ends the scan: text, format or destination.
    EXPECT_EQ(scan("5 x", "%d %d", &a, &b), 1);
    EXPECT_EQ(scan("5;6", "%d,%d", &a, &b), 1);
    EXPECT_EQ(scan("5 6", "%d %d", &a), 1);
    EXPECT_EQ(scan("5 6", "%s", &a), 0);
    EXPECT_EQ(scan("5 6", "%d", &text), 0);
    for (const char* broken : {"%", "%5", "%[", "%[ab", "%*", "%y", "%l"})
        EXPECT_EQ(scan("5ab", broken, &a), 0) << broken;
    const double most = std::numeric_limits<double>::max();
    const std::string nulls(400, '0');
    const std::pair<std::string, double> beyond[] = {
        {"1e999", most},     {"-1e999", -most},
        {"-1e-999", 0},      {"1" + nulls + "e-50", most},
        {"1" + nulls, most}, {"0." + nulls + "1", 0},
        {"0.0001e400", most}};
    for (const auto& [digits, nearest] : beyond)
    {
        double real = 1;
        EXPECT_EQ(scan(digits.c_str(), "%lf", &real), 1) << digits;
        EXPECT_EQ(real, nearest) << digits;
    }
}
