#include "CommandLine.h"
#include "KVI.h"

#include <iostream>
#include <string>
#include <vector>

// The wide form of main: the narrow form would lose file names outside the code page.
extern "C" int wmain(int argc, wchar_t** argv)
{
    std::vector<std::string> arguments;
    for (int i = 1; i < argc; ++i)
        arguments.push_back(str::as_u8string(std::wstring(argv[i])).bytes());
    return static_cast<int>(percova::RunCommandLine(arguments, std::cout, std::cerr));
}
