#include "sys/sys_reg_RegistryMirror.h"
#include "sys/sys_reg_key.h"

#include <limits>

using namespace sys::reg;

namespace
{
class Mirror : public sys_test::RegistryTest
{
protected:
    void SetUp() override
    {
        RegistryTest::SetUp();
        path = StrativoCurrentUserPath(L"General");
        Registry32 key(path);
        for (const std::wstring& name : key.GetAllValues())
            (void)key.DeleteValue(name); // of an earlier run, where the registry is the system's
        mirror.Populate();
    }

    RegistryMirror& mirror = RegistryMirror::Instance();
};
} // namespace

TEST_F(Mirror, KeepsEveryValueAndTypeThroughACycle)
{
    Store(L"Text", platform::kRegistryText, TextBytes(L"some text"));
    Store(L"Number", platform::kRegistryNumber, NumberBytes(-5));
    Store(L"Bytes", platform::kRegistryBinary, "\1\2\3");
    mirror.Populate();
    EXPECT_TRUE(mirror.SetValue(L"number", 6));
    EXPECT_TRUE(mirror.SetValue(L"Third", 1.0 / 3.0));
    EXPECT_TRUE(mirror.SetValue(L"Yes", true));
    EXPECT_TRUE(mirror.SetValue(L"Large", 0xFFFFFFFFul));
    EXPECT_TRUE(mirror.SetValue(L"Word", L"word"));
    EXPECT_FALSE(mirror.IsValueInRegistry(L"Word"));
    // Another program's change in between stays.
    Registry32 key(path);
    EXPECT_TRUE(key.WriteString(L"Text", L"theirs").ok());
    ASSERT_TRUE(mirror.Persist().ok());
    EXPECT_TRUE(mirror.IsValueInRegistry(L"WORD"));
    mirror.Populate();

    EXPECT_EQ(key.GetAllValues().size(), 7u);
    std::wstring text;
    int number = 0;
    double third = 0;
    float narrowed = 0;
    bool yes = false;
    unsigned long large = 0;
    EXPECT_TRUE(mirror.GetValue(L"text", text));
    EXPECT_EQ(text, L"theirs");
    EXPECT_TRUE(mirror.GetValue(L"Number", number));
    EXPECT_EQ(number, 6);
    EXPECT_TRUE(mirror.GetValue(L"Third", third) && mirror.GetValue(L"Third", narrowed));
    EXPECT_EQ(third, 1.0 / 3.0);
    EXPECT_EQ(narrowed, 1.0f / 3.0f);
    EXPECT_TRUE(mirror.GetValue(L"Yes", yes) && yes);
    EXPECT_TRUE(mirror.GetValue(L"Large", large));
    EXPECT_EQ(large, 0xFFFFFFFFul);
    EXPECT_FALSE(mirror.GetValue(L"Bytes", text));
    EXPECT_EQ(key.ReadStringW(L"Third").substr(0, 5), L"0.333"); // numbers are text
}

TEST_F(Mirror, LeavesTheDestinationWhenThereIsNoSuchValue)
{
    mirror.SetValue(L"word", L"word");
    mirror.SetValue(L"big", 300);
    int number = 7;
    unsigned char byte = 7;
    bool yes = true;
    std::wstring text = L"old";
    EXPECT_FALSE(mirror.GetValue(L"absent", text));
    EXPECT_FALSE(mirror.GetValue(L"word", number));
    EXPECT_FALSE(mirror.GetValue(L"word", yes));
    EXPECT_FALSE(mirror.GetValue(L"big", byte));
    EXPECT_EQ(number + byte + yes, 15);
    EXPECT_EQ(text, L"old");
    EXPECT_TRUE(mirror.GetValue(L"big", text));
    EXPECT_EQ(text, L"300");
    mirror.Populate(); // unsaved changes are dropped
    EXPECT_FALSE(mirror.GetValue(L"big", text));
}
