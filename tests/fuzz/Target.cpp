// The fuzzer's entry: CHECK is the function to try.
#include "fuzz/FuzzInput.h"

#include <cstdio>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string wrong = fuzz::CHECK(data, size);
    if (!wrong.empty())
    {
        std::fprintf(stderr, "%s\n", wrong.c_str());
        std::abort();
    }
    return 0;
}
