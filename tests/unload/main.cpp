// Loads a module that uses the library, and unloads it, fifty times: nothing of the library is
// left.
#include "Process.h"

#include <cstdio>
#include <string>

namespace
{
// Allowance for split free blocks; a leaked object of a few bytes shows in fifty rounds.
constexpr long kRemainders = 256;
} // namespace

int main(int, char** arguments)
{
    const std::string log = arguments[2];
    Holdings first;
    for (int round = 0; round < 50; ++round)
    {
        Module module(arguments[1]);
        if (module.handle == nullptr)
            return 1;
        const auto use =
            reinterpret_cast<int (*)(const wchar_t*)>(module.Function("UseTheLibrary"));
        if (use == nullptr || use(std::wstring(log.begin(), log.end()).c_str()) != 0)
        {
            std::printf("round %d: the library does not work\n", round);
            return 1;
        }
        module.Unload();
        const Holdings now;
        if (HasLibrary())
        {
            std::printf("round %d: the library is still loaded\n", round);
            return 1;
        }
        if (round < 2)
            first = now; // the run-time libraries have what they keep
        else if (now.threads != first.threads || now.descriptors != first.descriptors ||
                 now.bytes > first.bytes + kRemainders)
        {
            std::printf("round %d: %ld threads, %ld descriptors, %ld bytes more\n", round,
                        now.threads - first.threads, now.descriptors - first.descriptors,
                        now.bytes - first.bytes);
            return 1;
        }
    }
    std::printf("unloaded 50 times, %ld threads, %ld descriptors\n[  PASSED  ] 1 test.\n",
                first.threads, first.descriptors);
    return 0;
}
