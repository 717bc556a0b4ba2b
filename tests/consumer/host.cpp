// A host without message texts, and two plug-ins that bring theirs.
//   host PLUG-IN PLUG-IN
#include "Process.h"
#include <KVI.h>

#include <cstdio>

static_assert(KVI_VERSION == PACKAGE_VERSION, "headers and package are of different versions");

namespace
{
int failures = 0;

void Expect(const std::wstring& found, const wchar_t* expected)
{
    std::printf("%ls\n", found.c_str());
    failures += found == expected ? 0 : 1;
}
} // namespace

int main(int, char** arguments)
{
    const auto message = [](unsigned code) { return gtl::status(code, L"x:y").as_wstring(); };
    // Nobody brought texts: the library's own English ones.
    Expect(message(20521), L"x:y is not a valid path.");
    Expect(message(61001), L"message 61001: x:y");

    Module plugIns[] = {Module(arguments[1]), Module(arguments[2])};
    const wchar_t* const said[] = {L"north at 30500.500000", L"south at 30501.000000"};
    for (int i : {0, 1})
    {
        wchar_t text[100];
        reinterpret_cast<void (*)(wchar_t*, unsigned)>(plugIns[i].Function("Describe"))(text, 100);
        Expect(text, said[i]);
    }
    Expect(message(61003), L"x:y of both"); // from the second of a plug-in's files
    Expect(message(20521), L"x:y is not a valid path.");
    App::Instance().SetTextFunction(
        [](unsigned code) { return code == 20521 ? L"asked of %s" : nullptr; });
    Expect(message(20521) + message(61002), L"asked of x:ysouth at x:y");
    App::Instance().SetTextFunction(nullptr);

    sys::thread::task::Finalize();
    for (Module& plugIn : plugIns)
    {
        reinterpret_cast<void (*)()>(plugIn.Function("Leave"))();
        plugIn.Unload();
    }
    Expect(message(61001), L"message 61001: x:y");
    return failures;
}
